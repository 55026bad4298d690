// Whole frames, from the first begin to the end of the GPU's work, through the library in several ways, by glBegin,
// from client arrays and by hand: the table below has a row for each way, frames/Workloads.h says what is drawn. Each
// frame is drawn clipped and visible: a driver that draws in software does next to nothing, waits for fences included,
// as long as nothing is lit. On the machine's driver, or, with the stand-in in place of it, on a driver that swallows
// everything, so that only the caller's cost is left.
//
// With --pictures[=FOLDER] nothing is measured: each way draws each workload once, the frames are compared with the
// library's, and saved as PNG files where a folder is given. Exit code 1 when frames differ that should not.

#include "frames/Painter.h"
#include "frames/Pictures.h"

#include <cstring>

namespace {

using namespace Frames;

struct Way {
    const char* name;
    const char* title;
    bool programs;
    /// Traits that a workload must have, all of them, for this way to say something new about it.
    unsigned wants;
    std::unique_ptr<Painter> (*make)();
    unsigned cannot = 0; ///< traits of workloads that it cannot draw
};

const Way kWays[] = {
    {"glBegin", "glBegin", false, kAny, DrawByBegin, kStyled},
    {"client_arrays", "client arrays", false, kAny, DrawFromClientArrays, kStyled},
    {"by_hand", "by hand", true, kAny, [] { return DrawByHand(32'760); }, kStyled},
    {"by_hand_8000", "by hand, 8,000", true, kLong, [] { return DrawByHand(8'000); }},
    {"fixed", "fixed-function", false, kAny, [] { return DrawWithLibrary({}); }},
    {"4x", "4.x", true, kAny, [] { return DrawWithLibrary({}); }},
    {"4x_bulk", "4.x, bulk", true, kInArrays, [] { return DrawWithLibrary({.adding = Adding::InBulk}); }},
    {"4x_reserved", "4.x, reserved", true, kInArrays, [] { return DrawWithLibrary({.adding = Adding::Reserved}); }},
    {"4x_each", "4.x, each batch bracketed", true, kManySmall,
     [] { return DrawWithLibrary({.bracketsEachBatch = true}); }},
    {"fixed_shared", "fixed-function, shared", false, kShares, [] { return DrawWithLibrary({.sharesDraws = true}); }},
    {"4x_shared", "4.x, shared", true, kShares, [] { return DrawWithLibrary({.sharesDraws = true}); }},
    {"4x_each_shared", "4.x, each batch bracketed, shared", true, kManySmall,
     [] { return DrawWithLibrary({.bracketsEachBatch = true, .sharesDraws = true}); }},
    {"4x_one_call", "4.x, one call", true, kTiled, [] { return DrawWithLibrary({.inOneCall = true}); }},
    {"fixed_kept", "fixed-function, kept", false, kStandsStill,
     [] { return DrawWithLibrary({.keepsGeometry = true}); }},
    {"4x_kept", "4.x, kept", true, kStandsStill, [] { return DrawWithLibrary({.keepsGeometry = true}); }},
    {"4x_logger", "4.x, quiet logger", true, kManyCalls, [] { return DrawWithLibrary({.quietLogger = true}); }},
};

bool Suits(const Way& way, const Workload& workload) {
    return (workload.traits & way.wants) == way.wants && (workload.traits & way.cannot) == 0;
}

/// Counts how often the library or a loop by hand waited for a fence to its end, in the 4.x context.
class WaitCounter {
public:
    WaitCounter() : m_functions(*Stage::Of(true).View().GetContextRecord(KTR::GLContextMain).glCement) {
        s_waits = 0;
        s_wait = m_functions.glClientWaitSync;
        m_functions.glClientWaitSync = &Wait;
    }
    ~WaitCounter() { m_functions.glClientWaitSync = s_wait; }
    WaitCounter(const WaitCounter&) = delete;
    WaitCounter& operator=(const WaitCounter&) = delete;
    int Count() const { return s_waits; }

private:
    static GLenum APIENTRY Wait(GLsync fence, GLbitfield flags, GLuint64 timeout) {
        const GLenum result = s_wait(fence, flags, timeout);
        s_waits += result == GL_ALREADY_SIGNALED || result == GL_CONDITION_SATISFIED ? 1 : 0;
        return result;
    }

    inline static int s_waits = 0;
    inline static decltype(COrrinGLCement::glClientWaitSync) s_wait = nullptr;
    COrrinGLCement& m_functions;
};

/// One way of drawing one workload, made at its first frame and kept, as a host keeps what it draws by.
class Show {
public:
    Show(const Way& way, const Workload& workload, bool visible)
        : m_way(way), m_workload(workload), m_visible(visible) {}

    void Prepare() {
        Stage& stage = Stage::Of(m_way.programs);
        stage.Set(m_visible);
        if (!m_painter) {
            m_painter = m_way.make();
        }
        m_painter->Prepare(stage, m_workload.Shown());
        if (m_waits < 0) {
            // The driver compiles and caches at the first frame.
            const WaitCounter counter;
            stage.Set(m_visible);
            DrawFrame();
            m_waits = counter.Count();
        }
    }
    void DrawFrame() {
        std::visit([this](const auto& content) { m_painter->Draw(content); }, m_workload.Shown());
        glFinish();
    }
    void Leave() { m_painter->Leave(); }
    int Waits() const { return m_waits; }

private:
    const Way& m_way;
    const Workload& m_workload;
    bool m_visible;
    std::unique_ptr<Painter> m_painter;
    int m_waits = -1; ///< for the GPU in a frame; below 0 before the first
};

void Measure(benchmark::State& state, Show& show, const std::string& label) {
    show.Prepare();
    for ([[maybe_unused]] auto _ : state) {
        show.DrawFrame();
    }
    show.Leave();
    state.counters["waits"] = show.Waits();
    state.SetLabel(label);
}

void Register(const std::vector<Workload>& workloads, bool clippedOnly) {
    for (const Workload& workload : workloads) {
        for (const Way& way : kWays) {
            for (const bool visible : {false, true}) {
                if (!Suits(way, workload) || (visible && clippedOnly)) {
                    continue;
                }
                const char* const place = visible ? "visible" : "clipped";
                const auto show = std::make_shared<Show>(way, workload, visible);
                const std::string label = workload.title + "|" + way.title + "|" + place;
                auto* registered = benchmark::RegisterBenchmark(
                    (std::string(workload.name) + "/" + way.name + "/" + place).c_str(),
                    [show, label](benchmark::State& state) { Measure(state, *show, label); });
                registered->Unit(benchmark::kMillisecond)->UseRealTime();
                if (workload.repetitions != 0) {
                    registered->Iterations(1)->Repetitions(workload.repetitions);
                }
            }
        }
    }
}

/// Compares the frames of all ways with the library's on the 4.x pipeline. False when some differ that should not.
bool ComparePictures(const std::vector<Workload>& workloads, const std::string& folder) {
    bool agree = true;
    for (const Workload& workload : workloads) {
        std::vector<Frame> frames;
        const Frame* reference = nullptr;
        frames.reserve(std::size(kWays));
        for (const Way& way : kWays) {
            if (!Suits(way, workload)) {
                continue;
            }
            Show show(way, workload, true);
            show.Prepare();
            KTR::COpenGLView& view = Stage::Of(way.programs).View();
            view.Clear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
            show.DrawFrame();
            show.Leave();
            frames.push_back(TakeFrame(view, way.name));
            SaveFrame(frames.back(), folder, workload.name);
            reference = std::strcmp(way.name, "4x") == 0 ? &frames.back() : reference;
        }
        agree = ReportAgreement(workload, frames, *reference) && agree;
    }
    return agree;
}

} // namespace

int main(int argumentCount, char** arguments) {
    UseShadersOfTheBuild();
    std::unique_ptr<StandIn> driver;
    if (StandIn::IsLoaded()) {
        driver = std::make_unique<StandIn>();
        SwallowEverything(*driver);
    }
    benchmark::Initialize(&argumentCount, arguments);
    bool quick = false;
    bool pictures = false;
    std::string folder;
    for (int index = 1; index < argumentCount; ++index) {
        const std::string argument = arguments[index];
        if (argument == "--quick") {
            quick = true;
        } else if (argument.starts_with("--pictures")) {
            pictures = true;
            folder = argument.size() > 11 ? argument.substr(11) : "";
        } else {
            std::fprintf(stderr, "unknown argument %s\n", arguments[index]);
            return 2;
        }
    }
    const std::vector<Workload> workloads = MakeWorkloads(quick || pictures);
    if (pictures) {
        if (driver) {
            std::fprintf(stderr, "The null driver draws no pictures.\n");
            return 2;
        }
        return ComparePictures(workloads, folder) ? 0 : 1;
    }
    // Clipped or visible is one to a driver that swallows everything.
    Register(workloads, driver != nullptr);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
