#include "record/Journal.h"

#include "core/StateLock.h"
#include "rules/Contexts.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <deque>
#include <string_view>

namespace StandInDriver {

namespace {

std::atomic<bool> g_on = false;
std::deque<JournalEntry> g_entries;
bool g_filtered = false;
bool g_wanted[kFunctionCount] = {};

/// A * stands for any text, also none.
bool Fits(std::string_view name, std::string_view pattern) {
    if (pattern.empty()) {
        return name.empty();
    }
    if (pattern.front() == '*') {
        return Fits(name, pattern.substr(1)) || (!name.empty() && Fits(name.substr(1), pattern));
    }
    return !name.empty() && name.front() == pattern.front() && Fits(name.substr(1), pattern.substr(1));
}

/// The system's DLL answers these two from the thread's own memory. Programs ask them at every turn, so that they are
/// recorded only where a test names them.
bool ReachesTheDriver(unsigned index) {
    return index != Index_wglGetCurrentContext && index != Index_wglGetCurrentDC;
}

} // namespace

void JournalEntry::AddArray(const char* name, unsigned components, const std::vector<double>& numbers) {
    values.push_back(std::make_unique<double[]>(numbers.size()));
    std::copy(numbers.begin(), numbers.end(), values.back().get());
    arrays.push_back({name, components, numbers.size(), values.back().get()});
}

void StartJournal() {
    const StateLock lock;
    g_entries.clear();
    g_on = true;
}

void StopJournal() {
    g_on = false;
}

void ClearJournal() {
    const StateLock lock;
    g_on = false;
    g_entries.clear();
}

bool IsJournalOn() {
    return g_on.load(std::memory_order_relaxed);
}

bool SetJournalFilter(const char* const* patterns, std::uint32_t count) {
    const StateLock lock;
    ClearJournalFilter();
    g_filtered = true;
    bool allFit = true;
    for (std::uint32_t position = 0; position < count; ++position) {
        bool fits = false;
        for (unsigned index = 0; index < kFunctionCount; ++index) {
            if (Fits(kFunctions[index].name, patterns[position])) {
                g_wanted[index] = true;
                fits = true;
            }
        }
        allFit = allFit && fits;
    }
    return allFit;
}

void ClearJournalFilter() {
    const StateLock lock;
    g_filtered = false;
    std::fill(std::begin(g_wanted), std::end(g_wanted), false);
}

std::int64_t RecordCall(const Call& call, bool isReadable) {
    const StateLock lock;
    if (!g_on || !(g_filtered ? g_wanted[call.index] : ReachesTheDriver(call.index))) {
        return -1;
    }
    const FunctionDescription& function = kFunctions[call.index];
    JournalEntry& entry = g_entries.emplace_back();
    entry.index = call.index;
    const std::size_t count = std::min<std::size_t>(std::strlen(function.letters), kMostArguments);
    std::copy(call.arguments, call.arguments + count, entry.arguments);
    entry.context = call.context ? call.context->number : 0;
    entry.thread = GetCurrentThreadId();
    for (unsigned position = 0; position < count; ++position) {
        const char* const text = PointerArgument<const char*>(call, position);
        if (function.letters[position] == 's' && text) {
            entry.text = text;
        }
    }
    if (isReadable) {
        CaptureData(call, entry);
    }
    return static_cast<std::int64_t>(g_entries.size()) - 1;
}

void RecordResult(const Call& call) {
    const StateLock lock;
    if (call.entry >= 0 && static_cast<std::size_t>(call.entry) < g_entries.size()) {
        g_entries[static_cast<std::size_t>(call.entry)].result = call.result;
    }
}

std::uint64_t JournalSize() {
    const StateLock lock;
    return g_entries.size();
}

bool ReadJournalEntry(std::uint64_t number, OrrinStandInEntry& out) {
    const StateLock lock;
    if (number >= g_entries.size()) {
        return false;
    }
    const JournalEntry& entry = g_entries[number];
    const FunctionDescription& function = kFunctions[entry.index];
    out.sequence = number;
    out.function = function.name;
    out.letters = function.letters;
    out.arguments = entry.arguments;
    out.argumentCount = static_cast<std::uint32_t>(std::strlen(function.letters));
    out.resultLetter = function.resultLetter;
    out.result = entry.result;
    out.context = entry.context;
    out.thread = entry.thread;
    out.text = entry.text.c_str();
    out.arrays = entry.arrays.data();
    out.arrayCount = static_cast<std::uint32_t>(entry.arrays.size());
    return true;
}

} // namespace StandInDriver
