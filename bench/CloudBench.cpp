// What a user waits for with a large cloud, on the machine's driver: the first points, all of them, frames while the
// camera moves, the complete frame once it stands still, and a frame of all points against one draw of them by hand.
// The points are made by arithmetic, so that no file is measured. Each figure is taken once or is the median of some
// frames; it prints lines of name, value and unit between tabs.
//
// cloud_bench [MILLIONS] [fixed]: 10 million points if not told otherwise; on the 4.x pipeline unless "fixed".

#include "BenchView.h"
#include "Clock.h"
#include "clouds/PointCloudLayer.h"

#include <psapi.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using namespace KTR;

constexpr int kWidth = 1280;
constexpr int kHeight = 800;
constexpr unsigned __int64 kBudget = 1'000'000;
constexpr int kFrames = 15;
constexpr double kStrips = 40.0;

double FindMedian(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

double LargestWorkingSetMegabytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return static_cast<double>(counters.PeakWorkingSetSize) / 1e6;
}

void Report(const char* name, double value, const char* unit) {
    std::printf("%s\t%.3f\t%s\n", name, value, unit);
    std::fflush(stdout);
}

/// A survey in strips over the whole window: pixels for coordinates, in heights of -1 to 1.
class Survey final : public PointCloudReader {
public:
    explicit Survey(unsigned __int64 count) : m_count(count) {}

    unsigned long long GetPointCount() const override { return m_count; }
    long Read(PointCloudPoint* points, std::size_t capacity, std::size_t& count) override {
        for (count = 0; count < capacity && m_next < m_count; ++count) {
            points[count] = Next();
        }
        return S_OK;
    }
    PointCloudPoint Next() {
        const double progress = static_cast<double>(m_next++) / static_cast<double>(m_count) * kStrips;
        PointCloudPoint point;
        point.position.x = (std::floor(progress) + Number()) / kStrips * kWidth;
        point.position.y = (progress - std::floor(progress)) * kHeight;
        point.position.z = 0.8 * std::sin(point.position.x / 90.0) * std::cos(point.position.y / 70.0) + 0.1 * Number();
        point.red = static_cast<unsigned short>(40'000.0 + 25'000.0 * point.position.z);
        point.green = static_cast<unsigned short>(65'535.0 * Number());
        point.blue = 0x8000;
        return point;
    }

private:
    double Number() {
        m_state = m_state * 6364136223846793005ULL + 1442695040888963407ULL;
        return static_cast<double>(m_state >> 11) / 9007199254740992.0;
    }

    unsigned __int64 m_count;
    unsigned __int64 m_next = 0;
    unsigned __int64 m_state = 1;
};

void Look(COpenGLView& view, double shiftPixels) {
    view.SetUpViewport(0, 0, kWidth, kHeight);
    view.MatrixMode(GL_PROJECTION);
    view.Ortho(shiftPixels, shiftPixels + kWidth, 0.0, kHeight, -2.0, 2.0);
    view.MatrixMode(GL_MODELVIEW);
    view.LoadIdentity();
    view.Enable(GL_DEPTH_TEST);
    view.SetBackgroundColor(0, true);
}

void MeasureReading(COpenGLView& view, CPointCloudLayer& layer, const PointCloudDrawing& drawing, const Clock& clock) {
    bool isFirst = true;
    double longest = 0.0;
    PointCloudFrame frame;
    while (layer.GetState().reading) {
        const Clock frameClock;
        Look(view, 0.0);
        frame = layer.Draw(view, drawing);
        view.Finish();
        longest = std::max(longest, frameClock.Milliseconds());
        if (isFirst && frame.drawn > 0) {
            Report("reading: until the first points are shown", clock.Milliseconds(), "ms");
            isFirst = false;
        }
        if (frame.drawn == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }
    Report("reading: until all points are there", clock.Milliseconds(), "ms");
    Report("reading: the longest frame meanwhile", longest, "ms");
}

void MeasureMoving(COpenGLView& view, CPointCloudLayer& layer, const PointCloudDrawing& drawing) {
    std::vector<double> milliseconds;
    unsigned __int64 drawn = 0;
    for (int index = 0; index < kFrames; ++index) {
        const Clock clock;
        Look(view, 3.0 * index);
        drawn += layer.Draw(view, drawing).drawn;
        view.Finish();
        milliseconds.push_back(clock.Milliseconds());
    }
    Report("moving: a frame of 1 million points", FindMedian(milliseconds), "ms");
    Report("moving: the longest of these", *std::max_element(milliseconds.begin(), milliseconds.end()), "ms");
    Report("moving: points that it has", static_cast<double>(drawn) / kFrames / 1e6, "million");
}

void MeasureStanding(COpenGLView& view, CPointCloudLayer& layer, const PointCloudDrawing& drawing) {
    const Clock clock;
    Look(view, 0.0);
    PointCloudFrame frame = layer.Draw(view, drawing);
    double longest = 0.0;
    while (!frame.complete) {
        const Clock frameClock;
        if (frame.outdated) {
            Look(view, 0.0);
            frame = layer.Draw(view, drawing);
        } else {
            frame = layer.Refine(view);
        }
        view.Finish();
        longest = std::max(longest, frameClock.Milliseconds());
        if (frame.drawn == 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    Report("standing still: until the frame is complete", clock.Milliseconds(), "ms");
    Report("standing still: the longest step meanwhile", longest, "ms");
}

double MeasureWhole(COpenGLView& view, CPointCloudLayer& layer) {
    PointCloudDrawing drawing;
    drawing.mostPoints = 0;
    std::vector<double> milliseconds;
    for (int index = 0; index < 5; ++index) {
        const Clock clock;
        Look(view, 0.0);
        PointCloudFrame frame = layer.Draw(view, drawing);
        while (!frame.complete) {
            frame = layer.Refine(view);
        }
        view.Finish();
        milliseconds.push_back(clock.Milliseconds());
    }
    return FindMedian(milliseconds);
}

/// All points from one buffer in one draw, as a host would do it that has room for that.
double MeasureByHand(COpenGLView& view, unsigned __int64 count) {
    GLGeometry geometry;
    Survey survey(count);
    geometry.Reserve(static_cast<int>(count));
    geometry.FreeRecordsAfterUpload(view.DrawsWithPrograms());
    view.BeginGeometry(geometry);
    view.BeginArrays(GL_POINTS, GLShaderPoint);
    for (unsigned __int64 index = 0; index < count; ++index) {
        const PointCloudPoint point = survey.Next();
        const auto upper = [](unsigned short channel) { return static_cast<unsigned char>(channel >> 8); };
        view.AddIndex3DVertexRGBA(point.position.x, point.position.y, point.position.z, upper(point.red),
                                  upper(point.green), upper(point.blue), 255);
    }
    view.EndArrays();
    view.EndGeometry();
    std::vector<double> milliseconds;
    for (int index = 0; index < 5; ++index) {
        const Clock clock;
        Look(view, 0.0);
        view.EnableClientStateInternalVertexAndColors(3, GL_FLOAT, 4, GL_UNSIGNED_BYTE, GLShaderPoint);
        view.DrawGeometry(geometry);
        view.DisableClientState();
        view.Finish();
        milliseconds.push_back(clock.Milliseconds());
    }
    return FindMedian(milliseconds);
}

} // namespace

int main(int argumentCount, char** arguments) {
    const int millions = argumentCount > 1 ? std::max(std::atoi(arguments[1]), 1) : 10;
    const bool fixed = argumentCount > 2 && std::strcmp(arguments[2], "fixed") == 0;
    const unsigned __int64 count = static_cast<unsigned __int64>(millions) * 1'000'000;
    UseShadersOfTheBuild();
    BenchView bench(!fixed, kWidth, kHeight);
    COpenGLView& view = bench.Take();
    PointCloudDrawing drawing;
    drawing.mostPoints = kBudget;
    {
        const Clock clock;
        CPointCloudLayer layer(std::make_unique<Survey>(count));
        MeasureReading(view, layer, drawing, clock);
        MeasureMoving(view, layer, drawing);
        MeasureStanding(view, layer, drawing);
        const PointCloudState state = layer.GetState();
        Report("memory: points in main memory", static_cast<double>(state.memoryBytes) / 1e6, "MB");
        Report("memory: points on the card", static_cast<double>(state.cardBytes) / 1e6, "MB");
        Report("memory: points in the file", static_cast<double>(state.fileBytes) / 1e6, "MB");
        Report("memory: the most that the process took so far", LargestWorkingSetMegabytes(), "MB");
        Report("all points: a frame of the layer", MeasureWhole(view, layer), "ms");
    }
    if (millions <= 20) {
        Report("all points: one draw of them by hand", MeasureByHand(view, count), "ms");
    }
    return 0;
}
