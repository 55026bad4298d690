#include <OrrinDisplay.h>

#include <gtest/gtest.h>

#include <string>

using namespace KTR;

namespace {

constexpr DWORD kWindowFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
constexpr auto kAnyAcceleration = static_cast<OpenGLHardwareAcceleration>(0);

struct WeightCase {
    const char* name;
    DWORD flags;
    BYTE colorBits;
    BYTE depthBits;
    BYTE pixelType;
    bool drawToWindow;
    OpenGLHardwareAcceleration acceleration;
    unsigned int weight;
};

class PixelFormatWeight : public testing::TestWithParam<WeightCase> {};

TEST_P(PixelFormatWeight, Is) {
    const WeightCase& test = GetParam();
    PIXELFORMATDESCRIPTOR format = {};
    format.dwFlags = test.flags;
    format.cColorBits = test.colorBits;
    format.cDepthBits = test.depthBits;
    format.iPixelType = test.pixelType;
    EXPECT_EQ(WeightPixelFormats(format, 32, test.drawToWindow, test.acceleration), test.weight);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, PixelFormatWeight,
    testing::Values(
        WeightCase{"full_driver", kWindowFlags, 32, 24, PFD_TYPE_RGBA, true, AccelerationHardware, 1025 + 128 + 24},
        WeightCase{"generic_accelerated", kWindowFlags | PFD_GENERIC_ACCELERATED, 32, 24, PFD_TYPE_RGBA, true,
                   AccelerationHardware, 513 + 128 + 24},
        WeightCase{"generic_is_no_hardware", kWindowFlags | PFD_GENERIC_FORMAT, 32, 24, PFD_TYPE_RGBA, true,
                   AccelerationHardware, 0},
        WeightCase{"generic_software", kWindowFlags | PFD_GENERIC_FORMAT, 32, 32, PFD_TYPE_RGBA, true,
                   AccelerationSoftware, 1 + 128 + 32},
        WeightCase{"driver_is_no_software", kWindowFlags, 32, 24, PFD_TYPE_RGBA, true, AccelerationSoftware, 0},
        WeightCase{"shallow_depth_hardware", kWindowFlags, 32, 16, PFD_TYPE_RGBA, true, AccelerationHardware, 1025},
        WeightCase{"shallow_depth_any", kWindowFlags, 32, 16, PFD_TYPE_RGBA, true, kAnyAcceleration, 0},
        WeightCase{"deep_depth_any", kWindowFlags, 32, 24, PFD_TYPE_RGBA, true, kAnyAcceleration, 152},
        WeightCase{"too_shallow", kWindowFlags, 32, 8, PFD_TYPE_RGBA, true, AccelerationHardware, 0},
        WeightCase{"other_color_bits", kWindowFlags, 24, 24, PFD_TYPE_RGBA, true, AccelerationHardware, 0},
        WeightCase{"palette", kWindowFlags, 32, 24, PFD_TYPE_COLORINDEX, true, AccelerationHardware, 0},
        WeightCase{"single_buffered_window", PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL, 32, 24, PFD_TYPE_RGBA, true,
                   AccelerationHardware, 0},
        WeightCase{"window_format_for_bitmap", kWindowFlags, 32, 24, PFD_TYPE_RGBA, false, AccelerationHardware, 0},
        WeightCase{"bitmap", PFD_DRAW_TO_BITMAP | PFD_SUPPORT_OPENGL, 32, 24, PFD_TYPE_RGBA, false,
                   AccelerationHardware, 1025 + 128 + 24}),
    [](const auto& tested) { return std::string(tested.param.name); });

} // namespace
