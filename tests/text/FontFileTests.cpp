#include "support/TextFixture.h"

namespace {

/// A key like the system's table of installed fonts, gone at the end.
class FontKey {
public:
    explicit FontKey(std::initializer_list<std::pair<const wchar_t*, const wchar_t*>> values) {
        RegCreateKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
        for (const auto& [name, file] : values) {
            RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(file),
                           static_cast<DWORD>(std::wcslen(file) * sizeof(wchar_t))); // without its end
        }
    }
    ~FontKey() {
        RegCloseKey(key);
        RegDeleteKeyW(HKEY_CURRENT_USER, m_path.c_str());
    }
    FontKey(const FontKey&) = delete;
    FontKey& operator=(const FontKey&) = delete;

    HKEY key = nullptr;

private:
    std::wstring m_path = L"Software\\OrrinFontKey" + std::to_wstring(GetCurrentProcessId());
};

using FontFiles = FontTest;

TEST_F(FontFiles, ValueNamesCountUpToTheirBracket) {
    const std::wstring tooLong(600, L'x');
    const FontKey fonts{{L"Long Data (TrueType)", tooLong.c_str()},
                        {L"Arial Bold Italic (TrueType)", L"bi.ttf"},
                        {L"Arial (TrueType)", L"arial.ttf"},
                        {L"  Verdana\t(x) (y)", L"verdana.ttf"},
                        {L"(Curious)", L"curious.ttf"},
                        {L"Courier", L"courier.fon"}};
    const struct {
        const wchar_t* face;
        const wchar_t* file;
    } cases[] = {{L"verdana", L"verdana.ttf"},
                 {L"arial", L"arial.ttf"},
                 {L"ARIAL bold ITALIC", L"bi.ttf"},
                 {L"(curious)", L"curious.ttf"},
                 {L"Courier", L"courier.fon"},
                 {L"Aria", nullptr},
                 {L"Arial (TrueType)", nullptr},
                 {L"Long Data", nullptr} /* more than a path */,
                 {L"", nullptr}};
    for (const auto& test : cases) {
        notices.shown.clear();
        CString file = L"before";
        EXPECT_EQ(QueryFontKey(fonts.key, test.face, file), test.file ? S_OK : E_FAIL);
        EXPECT_STREQ(file.GetString(), test.file ? test.file : L"before");
        if (test.file) {
            EXPECT_TRUE(notices.shown.empty());
            continue;
        }
        ASSERT_EQ(notices.shown.size(), 1U);
        EXPECT_EQ(notices.shown[0].text, L"QueryFontKey: Unable to locate font file in registry for font face: " +
                                             std::wstring(test.face) + L" file");
    }
}

TEST_F(FontFiles, UnreadableKeyIsToldButNoFailure) {
    const DebugOutput output;
    CString file;
    EXPECT_EQ(QueryFontKey(nullptr, L"arial", file), S_OK);
    EXPECT_TRUE(file.IsEmpty());
    const std::wstring expected =
        L"QueryFontKey: While searching for font: arial file, RegQueryInfoKey returned error code: 6";
    EXPECT_EQ(output.Text(), expected);
    ASSERT_EQ(notices.shown.size(), 1U);
    EXPECT_EQ(notices.shown[0].text, expected);
}

TEST_F(FontFiles, FolderIsSearchedForTheNameAndThenForNamesThatContainIt) {
    const InstalledFontFile file(FontBytes(1));
    const std::wstring face = file.Face().GetString();
    const std::wstring folder = FontsFolder().wstring();
    CString path = L"before";
    EXPECT_EQ(GetFontSystemPath(face.c_str(), path), S_OK);
    EXPECT_EQ(path.GetString(), folder + L"\\\\" + face + L".ttf");
    path = L"before";
    EXPECT_EQ(GetFontSystemPath(L"no such font", path), S_OK);
    EXPECT_STREQ(path.GetString(), L"before");
    const std::wstring part = face.substr(1);
    EXPECT_EQ(GetFontSystemPath(part.c_str(), path), S_OK);
    EXPECT_STREQ(path.GetString(), L"before") << "one match is not enough";
    {
        const std::filesystem::path twin = FontsFolder() / (face + L"_twin.ttf");
        std::ofstream(twin).put('x');
        EXPECT_EQ(GetFontSystemPath(part.c_str(), path), S_OK);
        std::filesystem::remove(twin);
    }
    const std::wstring pattern = folder + L"\\\\*" + part + L"*.*\\";
    EXPECT_TRUE(path.GetString() == pattern + face + L"_twin.ttf" || path.GetString() == pattern + face + L".ttf")
        << "the second one found";
    EXPECT_TRUE(notices.shown.empty());
}

TEST_F(FontFiles, LookUpNameIsTheFaceWithItsStyle) {
    const struct {
        const wchar_t* face;
        bool bold, italic;
        const wchar_t* expected;
    } cases[] = {{L"arial", false, false, L"arial"},       {L"@MS Gothic", false, false, L"MS Gothic"},
                 {L"@ Arial\t", false, false, L"Arial"},   {L" @arial", false, false, L"@arial"},
                 {L"a@b", false, false, L"a@b"},           {L"arial ", true, false, L"arial Bold"},
                 {L"arial", false, true, L"arial Italic"}, {L"@arial", true, true, L"arial Bold Italic"}};
    for (const auto& test : cases) {
        EXPECT_STREQ(FontLookUpName(FontRequest(test.face, 12, test.bold, test.italic)).GetString(), test.expected);
    }
}

} // namespace
