#include "support/DebugOutput.h"

#include <OrrinDisplay.h>

#include <gtest/gtest.h>

#include <string>

using namespace KTR;

namespace {

struct VersionTextCase {
    const char* name;
    const char* text;
    bool understood;
    int combined;
    GLVideoCardVendor vendor;
};

class GLVersionText : public testing::TestWithParam<VersionTextCase> {};

TEST_P(GLVersionText, IsRead) {
    const ParsedGLVersion parsed = ParseGLVersionText(GetParam().text);
    EXPECT_EQ(parsed.understood, GetParam().understood);
    if (GetParam().understood) {
        EXPECT_EQ(parsed.combined, GetParam().combined);
        EXPECT_EQ(parsed.vendor, GetParam().vendor);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Texts, GLVersionText,
    testing::Values(VersionTextCase{"nvidia", "4.6.0 NVIDIA 551.23", true, 46, VendorNVIDIA},
                    VersionTextCase{"intel", "4.5.0 - Build 31.0.101 iNtEl", true, 45, VendorIntel},
                    VersionTextCase{"ati", "4.4 ATI Catalyst", true, 44, VendorATI},
                    VersionTextCase{"compatibility_counts_as_ati", "4.5 (Compatibility Profile) X", true, 45,
                                    VendorATI},
                    VersionTextCase{"nvidia_before_ati", "4.5 (Compatibility Profile) NVIDIA", true, 45, VendorNVIDIA},
                    VersionTextCase{"no_vendor", "4.6.0 - Build 27.20", true, 46, VendorOther},
                    VersionTextCase{"minor_ten", "4.10 NVIDIA", true, 50, VendorNVIDIA},
                    VersionTextCase{"words_first", "OpenGL ES 3.2 x", true, 32, VendorOther},
                    VersionTextCase{"vendor_before_the_number_is_not_seen", "NVIDIA 3.3", true, 33, VendorOther},
                    VersionTextCase{"major_only", "4", false, 0, VendorOther},
                    VersionTextCase{"no_digit", "garbage", false, 0, VendorOther},
                    VersionTextCase{"empty", "", false, 0, VendorOther},
                    VersionTextCase{"no_dot", "4-6", false, 0, VendorOther}),
    [](const auto& tested) { return std::string(tested.param.name); });

struct LadderCase {
    const char* name;
    int combined;
    bool keyEntryPoints;
    int legacyMajor, legacyMinor;
    bool fails;
    int major, minor;
};

class VersionLadder : public testing::TestWithParam<LadderCase> {};

TEST_P(VersionLadder, Chooses) {
    const LadderCase& test = GetParam();
    const VersionChoice choice = ChooseVersion(test.combined, test.keyEntryPoints);
    EXPECT_EQ(choice.legacyMajor, test.legacyMajor);
    EXPECT_EQ(choice.legacyMinor, test.legacyMinor);
    EXPECT_EQ(choice.driverFails, test.fails);
    EXPECT_EQ(choice.major, test.major);
    EXPECT_EQ(choice.minor, test.minor);
}

INSTANTIATE_TEST_SUITE_P(Drivers, VersionLadder,
                         testing::Values(LadderCase{"oldest", 11, true, 1, 1, false, 1, 1},
                                         LadderCase{"two_zero", 20, true, 1, 1, false, 2, 0},
                                         LadderCase{"two_one", 21, true, 2, 0, false, 2, 0},
                                         LadderCase{"four_three", 43, true, 2, 0, false, 2, 0},
                                         LadderCase{"four_four", 44, true, 2, 0, false, 4, 4},
                                         LadderCase{"newest", 46, true, 2, 0, false, 4, 4},
                                         LadderCase{"overflowed", -5, true, 2, 0, false, 4, 4},
                                         LadderCase{"lacks_key_functions", 46, false, 2, 0, true, 2, 0},
                                         LadderCase{"old_lacks_nothing", 20, false, 1, 1, false, 2, 0}),
                         [](const auto& tested) { return std::string(tested.param.name); });

struct EnvironmentCase {
    const char* name;
    const wchar_t* value; ///< null: not set
    bool wantsOpenGL11;
    bool textureCache;
    bool countsAsSet;
};

class UserEnvironment : public testing::TestWithParam<EnvironmentCase> {
protected:
    void TearDown() override {
        SetEnvironmentVariableW(L"ORRIN_OPENGL_VERSION", nullptr);
        SetEnvironmentVariableW(L"ORRIN_TEXTURE_CACHE", nullptr);
    }
};

TEST_P(UserEnvironment, IsRead) {
    const EnvironmentCase& test = GetParam();
    SetEnvironmentVariableW(L"ORRIN_OPENGL_VERSION", test.value);
    SetEnvironmentVariableW(L"ORRIN_TEXTURE_CACHE", test.value);
    const DebugOutput output;
    EXPECT_EQ(GetOpenGL11UserEnvironmentVariable(), test.wantsOpenGL11);
    EXPECT_EQ(GetOpenGLTextureCacheEnvironmentVariable(), test.textureCache);
    EXPECT_EQ(output.Has(L"\n    Environment Variablee - ORRIN_OPENGL_VERSION: NOT SET - By default use best OpenGL "
                         L"version available.\n"),
              !test.countsAsSet);
    EXPECT_EQ(
        output.Has(L"     Environment Variable - ORRIN_TEXTURE_CACHE: NOT SET - By default Texture Cache is ON.\n\n"),
        !test.countsAsSet);
}

const std::wstring kTooLong(140, L'1');

INSTANTIATE_TEST_SUITE_P(Values, UserEnvironment,
                         testing::Values(EnvironmentCase{"unset", nullptr, false, true, false},
                                         EnvironmentCase{"one", L"1", true, true, true},
                                         EnvironmentCase{"eleven", L"11", true, true, true},
                                         EnvironmentCase{"two", L"2", false, true, true},
                                         EnvironmentCase{"forty_six", L"46", false, true, true},
                                         EnvironmentCase{"zero", L"0", false, false, true},
                                         EnvironmentCase{"word", L"yes", false, false, true},
                                         EnvironmentCase{"too_long", kTooLong.c_str(), false, true, false}),
                         [](const auto& tested) { return std::string(tested.param.name); });

TEST(UserEnvironment, ReportsTheRequestedVersionAndTheCacheSwitch) {
    SetEnvironmentVariableW(L"ORRIN_OPENGL_VERSION", L"46");
    SetEnvironmentVariableW(L"ORRIN_TEXTURE_CACHE", L"7");
    const DebugOutput output;
    GetOpenGL11UserEnvironmentVariable();
    GetOpenGLTextureCacheEnvironmentVariable();
    EXPECT_EQ(output.Text(), L"\n     Environment Variable - ORRIN_OPENGL_VERSION: SET - Requested OpenGL version: 46\n"
                             L"     Environment Variable - ORRIN_TEXTURE_CACHE: SET - Texture Cache "
                             L"ON.\n------------------------\n\n");
    SetEnvironmentVariableW(L"ORRIN_OPENGL_VERSION", nullptr);
    SetEnvironmentVariableW(L"ORRIN_TEXTURE_CACHE", nullptr);
}

} // namespace
