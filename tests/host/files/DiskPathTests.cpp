#include "files/DiskPath.h"

#include "FileTestSupport.h"
#include "files/OpenFile.h"
#include "files/RandomAccessFile.h"
#include "files/WktText.h"
#include "files/WorldFile.h"

namespace OrrinViewer {
namespace {

#ifdef _WIN32

// What stands behind \\?\ is taken as it is, so it has to be whole, and with the system's own separators.
TEST(DiskPath, LongPathsTakeTheFormThatTheSystemTakes) {
    const std::wstring name = std::wstring(250, L'n') + L"\u00E4.las";
    EXPECT_EQ(DiskPath(L"C:\\surveys\\" + name), L"\\\\?\\C:\\surveys\\" + name);
    EXPECT_EQ(DiskPath(L"C:/surveys/./old/../" + name), L"\\\\?\\C:\\surveys\\" + name);
    EXPECT_EQ(DiskPath(L"\\\\server\\surveys\\" + name), L"\\\\?\\UNC\\server\\surveys\\" + name);
    EXPECT_EQ(DiskPath(L"//server/surveys/" + name), L"\\\\?\\UNC\\server\\surveys\\" + name);
    EXPECT_EQ(DiskPath(L"\\\\?\\C:\\surveys\\" + name), L"\\\\?\\C:\\surveys\\" + name);
    const std::filesystem::path here = std::filesystem::current_path();
    EXPECT_EQ(DiskPath(name), L"\\\\?\\" + (here / name).wstring());
    for (const wchar_t* const path : {L"C:\\surveys\\a.las", L"surveys/a.las", L"//server/surveys/a.las", L""}) {
        EXPECT_EQ(DiskPath(path), path);
    }
}

#endif

TEST(DiskPath, FilesAtLongPathsOpenWithWhatLiesBesideThem) {
    const LongFolder folder;
    const std::filesystem::path cloud =
        folder.Write(u8"Höhe_高さ.ply", "ply\nformat ascii 1.0\nelement vertex 1\nproperty int x\nproperty int y\n"
                                        "property int z\nend_header\n1 2 3\n");
    EXPECT_EQ(DetectKind(cloud), FileKind::Ply);
    EXPECT_EQ(OpenPointCloud(cloud).positions.at(0), (Position{1, 2, 3}));
    EXPECT_EQ(RandomAccessFile(cloud).Size(), FindOnDisk(cloud).size);
    folder.Write(u8"Höhe_高さ.prj", R"(PROJCS["here", PROJECTION["Transverse_Mercator"], UNIT["foot", 0.3048]])");
    EXPECT_EQ(SystemBeside(cloud).units, MapUnits::Feet);
    const std::filesystem::path world = folder.Write(u8"Höhe_高さ.wld", "1\n0\n0\n-1\n5\n6\n");
    EXPECT_EQ(FindWorldFile(cloud), world);
    EXPECT_EQ(FindOnDisk(cloud.parent_path()).kind, DiskEntry::Kind::Folder);
    EXPECT_EQ(FindOnDisk(cloud.parent_path() / "none").kind, DiskEntry::Kind::Nothing);
}

} // namespace
} // namespace OrrinViewer
