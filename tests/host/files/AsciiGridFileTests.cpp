#include "files/AsciiGridFile.h"

#include "FileTestSupport.h"

namespace OrrinViewer {
namespace {

const std::string kHeader = "ncols 3\r\nNROWS 2\r\nxllcorner 500000\r\nyllcorner 4500000\r\ncellsize 10\r\n";

ElevationGrid Read(const std::string& content) {
    return ReadAsciiGridFile(TemporaryFile(".asc", content).Path());
}

// Half a cell of error, or a grid upside down, would lay the relief beside every other layer.
TEST(AsciiGridFile, CellsLieWhereCornerOrCentreSays) {
    const ElevationGrid byCorner = Read(kHeader + "1 2\n3 4 5 6");
    EXPECT_EQ(byCorner.PositionAt(0, 0), (Position{500'005, 4'500'015, 1})) << "north-west";
    EXPECT_EQ(byCorner.PositionAt(2, 1), (Position{500'025, 4'500'005, 6})) << "south-east";
    EXPECT_EQ(byCorner.ElevationAt(500'026, 4'500'004), 6);
    EXPECT_TRUE(std::isnan(byCorner.ElevationAt(500'031, 4'500'004))) << "beyond the edge";
    const ElevationGrid byCentre =
        Read("ncols 3 nrows 2 xllcenter 500005 yllcenter 4500005 cellsize 10 1 2 3 4 5 6\n\n");
    EXPECT_EQ(byCentre.PositionAt(0, 0), byCorner.PositionAt(0, 0));
}

TEST(AsciiGridFile, CellsWithoutData_LeaveExtentTrianglesAndNormalsAlone) {
    const ElevationGrid grid = Read(kHeader + "NODATA_value -9999\n-9999 2 +3.5e0 4 nan 6\n");
    EXPECT_EQ(grid.CountCellsWithData(), 4U);
    EXPECT_EQ(grid.FindExtent().low.z, 2);
    const auto triangles = FindTriangles(grid);
    ASSERT_EQ(triangles.size(), 1U) << "of two squares one lacks two corners, the other one";
    for (const GridCorner& corner : triangles[0]) {
        EXPECT_TRUE(grid.HasData(corner.column, corner.row));
        EXPECT_TRUE(std::isfinite(FindNormal(grid, corner.column, corner.row).z));
    }
}

TEST(AsciiGridFile, DamagedGrid_IsRefusedWithItsReason) {
    const struct {
        const char* fault;
        std::string content;
        const char* complaint;
    } cases[] = {
        {"truncated", kHeader + "1 2 3 4 5", "ends after 5 of 6 cells"},
        {"too many values", kHeader + "1 2 3\n4 5 6\n7", "line 8: more values"},
        {"no number", kHeader + "1 2 3\n4 x5 6", "line 7: 'x5' is not a number"},
        {"promises what memory cannot hold", "ncols 1000000000 nrows 1000000000 xllcorner 0 yllcorner 0 cellsize 1 5",
         "promises 1000000000000000000 cells"},
        {"half a cell", "ncols 2.5 nrows 1 xllcorner 0 yllcorner 0 cellsize 1 5", "ncols is not a number of cells"},
        {"no cells", "ncols 0 nrows 1 xllcorner 0 yllcorner 0 cellsize 1 5", "ncols is not a number of cells"},
        {"no size", "ncols 1 nrows 1 xllcorner 0 yllcorner 0 cellsize -1 5", "cellsize"},
        {"no place", "ncols 1 nrows 1 xllcorner 0 cellsize 1 5", "lacks yllcorner"},
        {"unknown entry", "ncols 1\nwhat 2", "line 2: 'what'"},
        {"header alone", "ncols", "in the middle of its header"},
    };
    for (const auto& test : cases) {
        const std::string complaint = Complaint(ReadAsciiGridFile, test.content, ".asc");
        EXPECT_NE(complaint.find(test.complaint), std::string::npos) << test.fault << ": " << complaint;
    }
    EXPECT_GT(CountRefusedMutations(ReadAsciiGridFile, kHeader + "1 2 3 4 5 6", ".asc"), CountOfMutations() / 4);
}

} // namespace
} // namespace OrrinViewer
