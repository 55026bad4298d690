#include "faults/Faults.h"

#include "core/Dispatch.h"
#include "core/StateLock.h"

#include <windows.h>

#include <atomic>
#include <cstring>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace StandInDriver {

namespace {

struct Fault {
    std::uint64_t first;
    std::uint64_t beyond;
    std::uint64_t value;
    std::optional<std::uint32_t> lastError;
};

std::map<unsigned, std::vector<Fault>> g_faults;
std::map<unsigned, std::map<std::uint32_t, std::int64_t>> g_integerAnswers;
std::map<std::uint32_t, const char*> g_strings;
std::atomic<bool> g_hasFaults[kFunctionCount] = {};

/// A caller may keep the pointer that glGetString gave it, so no text is ever freed.
const char* KeepText(const char* text) {
    static auto* const texts = new std::deque<std::string>;
    return text ? texts->emplace_back(text).c_str() : nullptr;
}

std::uint64_t FailureValue(unsigned index) {
    constexpr std::uint64_t kWaitFailed = 0x911D;
    constexpr std::uint64_t kInvalidIndex = 0xFFFFFFFF;
    switch (index) {
    case Index_glGetUniformLocation:
    case Index_glGetAttribLocation:
    case Index_glGetFragDataLocation:
    case Index_glGetProgramResourceLocation:
        return ~std::uint64_t{0};
    case Index_glGetUniformBlockIndex:
    case Index_glGetProgramResourceIndex:
        return kInvalidIndex;
    case Index_glClientWaitSync:
        return kWaitFailed;
    default:
        return 0;
    }
}

/// A failed glGen… leaves no names, rather than whatever was in the caller's array.
void ClearGeneratedNames(const Call& call) {
    const FunctionDescription& function = kFunctions[call.index];
    const std::string_view name = function.name;
    if ((!name.starts_with("glGen") && !name.starts_with("glCreate")) || function.countArgument < 0) {
        return;
    }
    const auto count = static_cast<std::int64_t>(call.arguments[function.countArgument]);
    const auto position = static_cast<unsigned>(std::strlen(function.letters)) - 1;
    if (function.objects[position] != '-' && count > 0) {
        std::memset(PointerArgument<void*>(call, position), 0, static_cast<std::size_t>(count) * sizeof(std::uint32_t));
    }
}

void AddFault(unsigned index, std::uint32_t nth, std::uint32_t count, std::uint64_t value,
              std::optional<std::uint32_t> lastError) {
    const StateLock lock;
    if (count == 0) {
        g_faults.erase(index);
        return;
    }
    const std::uint64_t first = CallsSinceLoading(index) + (nth == 0 ? 1 : nth);
    g_faults[index].push_back({first, first + count, value, lastError});
    g_hasFaults[index] = true;
}

/// Writes an answer as the type that the function's name ends with.
void WriteAnswer(std::string_view function, void* address, std::int64_t value) {
    const auto write = [address](const auto typed) { std::memcpy(address, &typed, sizeof(typed)); };
    if (function.ends_with("i64v") || function.ends_with("i64_v")) {
        write(value);
    } else if (function.ends_with("fv") || function.ends_with("Floatv")) {
        write(static_cast<float>(value));
    } else if (function.ends_with("Doublev")) {
        write(static_cast<double>(value));
    } else if (function.ends_with("Booleanv")) {
        write(static_cast<unsigned char>(value != 0));
    } else {
        write(static_cast<int>(value));
    }
}

} // namespace

void AddFailure(unsigned index, std::uint32_t nth, std::uint32_t count, std::uint32_t lastError) {
    AddFault(index, nth, count, FailureValue(index), lastError);
}

void AddReturnValue(unsigned index, std::uint32_t nth, std::uint32_t count, std::uint64_t value) {
    AddFault(index, nth, count, value, std::nullopt);
}

bool AddIntegerAnswer(unsigned index, std::uint32_t parameterName, std::int64_t value) {
    const std::string_view letters = kFunctions[index].letters;
    if (!letters.ends_with("up") || !std::string_view(kFunctions[index].name).starts_with("glGet")) {
        return false;
    }
    const StateLock lock;
    g_integerAnswers[index][parameterName] = value;
    g_hasFaults[index] = true;
    return true;
}

void SetStringText(std::uint32_t name, const char* text) {
    const StateLock lock;
    g_strings[name] = KeepText(text);
    g_hasFaults[Index_glGetString] = true;
}

void RestoreStringText(std::uint32_t name) {
    const StateLock lock;
    g_strings.erase(name);
}

void ClearFaults() {
    const StateLock lock;
    g_faults.clear();
    g_integerAnswers.clear();
    g_strings.clear();
    for (std::atomic<bool>& hasFaults : g_hasFaults) {
        hasFaults = false;
    }
}

bool HasFaults(unsigned index) {
    return g_hasFaults[index].load(std::memory_order_relaxed);
}

bool ApplyFault(Call& call, std::uint64_t ordinal) {
    const StateLock lock;
    const auto found = g_faults.find(call.index);
    if (found == g_faults.end()) {
        return false;
    }
    for (const Fault& fault : found->second) {
        if (ordinal >= fault.first && ordinal < fault.beyond) {
            ClearGeneratedNames(call);
            call.result = fault.value;
            if (fault.lastError) {
                SetLastError(*fault.lastError);
            }
            return true;
        }
    }
    return false;
}

void ApplyAnswers(Call& call) {
    const StateLock lock;
    if (call.index == Index_glGetString) {
        const auto text = g_strings.find(static_cast<std::uint32_t>(call.arguments[0]));
        if (text != g_strings.end()) {
            call.result = reinterpret_cast<std::uintptr_t>(text->second);
        }
        return;
    }
    const auto answers = g_integerAnswers.find(call.index);
    if (answers == g_integerAnswers.end()) {
        return;
    }
    const auto pointer = static_cast<unsigned>(std::strlen(kFunctions[call.index].letters)) - 1;
    const auto answer = answers->second.find(static_cast<std::uint32_t>(call.arguments[pointer - 1]));
    if (answer != answers->second.end() && call.arguments[pointer] != 0) {
        WriteAnswer(kFunctions[call.index].name, PointerArgument<void*>(call, pointer), answer->second);
    }
}

} // namespace StandInDriver
