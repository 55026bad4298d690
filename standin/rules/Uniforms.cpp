#include "rules/Uniforms.h"

#include "core/State.h"
#include "core/StateLock.h"
#include "core/Values.h"
#include "rules/Contexts.h"
#include "rules/Violations.h"

#include <atomic>
#include <bit>
#include <compare>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace StandInDriver {

namespace {

/// One element's numbers, by their bits: drivers tell -0 from 0 and take each NaN for itself.
using Value = std::vector<std::uint64_t>;

struct Uniform {
    Value value;
    /// Number of the context that wrote it.
    std::uint32_t writer = 0;
};

using Location = std::int64_t;
using Uniforms = std::map<Location, Uniform>;

/// A program as all contexts of its share group see it.
struct ProgramKey {
    const ObjectTable* shared;
    std::uint64_t name;
    auto operator<=>(const ProgramKey&) const = default;
};

/// What one context knows of one program.
struct Uploaded {
    /// The values that its draws use. What is missing had its initial value, which is not known here.
    std::map<Location, Value> values;
    /// Brought up to date by the next draw.
    bool stale = true;
    /// Writes since the last draw that were equal to what another context had written: who that was.
    std::map<Location, std::uint32_t> dropped;
};

std::atomic<bool> g_judged = false;
std::map<ProgramKey, Uniforms> g_programs;
std::map<std::pair<const Context*, ProgramKey>, Uploaded> g_uploaded;
/// The program of each context's last draw.
std::map<const Context*, std::uint64_t> g_lastDrawn;

bool IsProgramUniform(unsigned index) {
    return std::string_view(kFunctions[index].name).starts_with("glProgramUniform");
}

/// The elements that a call writes, beginning with `location`.
struct Write {
    std::uint64_t program;
    Location location;
    std::vector<Value> elements;
};

std::uint64_t BitsOf(double number) {
    return std::bit_cast<std::uint64_t>(number);
}

Write WriteOf(const Call& call) {
    const std::string_view letters = kFunctions[call.index].letters;
    const std::size_t first = IsProgramUniform(call.index) ? 1 : 0;
    Write write = {};
    write.program = first == 1 ? call.arguments[0] : State(call.context).Program();
    write.location = static_cast<Location>(call.arguments[first]);
    const CallValues values = ValuesOf(call);
    if (values.components == 0) {
        Value& value = write.elements.emplace_back();
        for (std::size_t position = first + 1; position < letters.size(); ++position) {
            const bool isFloat = letters[position] == 'f' || letters[position] == 'd';
            const auto integer = static_cast<double>(static_cast<std::int64_t>(call.arguments[position]));
            value.push_back(isFloat ? call.arguments[position] : BitsOf(integer));
        }
        return write;
    }
    const bool isMatrix = std::string_view(kFunctions[call.index].name).find("Matrix") != std::string_view::npos;
    for (std::size_t number = 0; number < values.numbers.size(); ++number) {
        if (number % values.components == 0) {
            // A transposed matrix is another one, though of the same numbers.
            write.elements.push_back(isMatrix ? Value{call.arguments[first + 2]} : Value());
        }
        write.elements.back().push_back(BitsOf(values.numbers[number]));
    }
    return write;
}

} // namespace

bool WritesUniforms(unsigned index) {
    std::string_view name = kFunctions[index].name;
    for (const std::string_view prefix : {"glProgramUniform", "glUniform"}) {
        if (name.starts_with(prefix)) {
            name.remove_prefix(prefix.size());
            return name.starts_with("Matrix") || (name.front() >= '1' && name.front() <= '4');
        }
    }
    return false;
}

void JudgeUniform(const Call& call) {
    const State state(call.context);
    if (!IsProgramUniform(call.index) && state.Program() == 0 && state.ProgramPipeline() == 0) {
        AddViolation("%s is called while no program is in use", kFunctions[call.index].name);
    }
}

void SetDroppedUniformsJudged(bool on) {
    const StateLock lock;
    g_judged = on;
    g_programs.clear();
    g_uploaded.clear();
    g_lastDrawn.clear();
}

void TrackUniform(const Call& call) {
    if (!g_judged) {
        return;
    }
    const StateLock lock;
    const Write write = WriteOf(call);
    if (write.program == 0 || write.location < 0) {
        return;
    }
    const ProgramKey program = {call.context->shared.get(), write.program};
    Uploaded& mine = g_uploaded[{call.context, program}];
    for (std::size_t element = 0; element < write.elements.size(); ++element) {
        const Location location = write.location + static_cast<Location>(element);
        Uniform& uniform = g_programs[program][location];
        if (uniform.writer == 0 || uniform.value != write.elements[element]) {
            uniform = {write.elements[element], call.context->number};
            mine.stale = true;
            mine.dropped.erase(location);
        } else if (uniform.writer != call.context->number) {
            mine.dropped[location] = uniform.writer;
        }
    }
}

void JudgeDrawnUniforms(const Call& call) {
    if (!g_judged) {
        return;
    }
    const StateLock lock;
    const std::uint64_t name = State(call.context).Program();
    const ProgramKey program = {call.context->shared.get(), name};
    const bool sameProgram = g_lastDrawn[call.context] == name;
    g_lastDrawn[call.context] = name;
    if (name == 0) {
        return;
    }
    Uploaded& mine = g_uploaded[{call.context, program}];
    const Uniforms& present = g_programs[program];
    if (mine.stale || !sameProgram) {
        mine = {};
        mine.stale = false;
        for (const auto& [location, uniform] : present) {
            mine.values[location] = uniform.value;
        }
        return;
    }
    for (const auto& [location, writer] : mine.dropped) {
        const auto used = mine.values.find(location);
        const auto uniform = present.find(location);
        if (used != mine.values.end() && uniform != present.end() && used->second != uniform->second.value) {
            AddViolation("%s draws in context %u with program %llu, whose uniform at location %lld a driver may still "
                         "have at an older value: context %u wrote the present one, and this context's own write of it "
                         "came as an equal one",
                         kFunctions[call.index].name, call.context->number, static_cast<unsigned long long>(name),
                         static_cast<long long>(location), writer);
        }
    }
    mine.dropped.clear();
}

void ForgetUniforms(Call& call) {
    const StateLock lock;
    const ProgramKey program = {call.context->shared.get(), call.arguments[0]};
    g_programs.erase(program);
    std::erase_if(g_uploaded, [&](const auto& entry) { return entry.first.second == program; });
}

void ForgetUniformsOf(const Context& context) {
    const StateLock lock;
    g_lastDrawn.erase(&context);
    std::erase_if(g_uploaded, [&](const auto& entry) { return entry.first.first == &context; });
    if (context.shared.use_count() <= 1) {
        std::erase_if(g_programs, [&](const auto& entry) { return entry.first.shared == context.shared.get(); });
    }
}

} // namespace StandInDriver
