#pragma once

#include "DriverInterface.h"
#include "core/Functions.h"

#include <memory>
#include <string>
#include <vector>

namespace StandInDriver {

constexpr unsigned kMostArguments = 16;

/// A recorded call with its own copy of everything.
struct JournalEntry {
    unsigned index = 0;
    std::uint64_t arguments[kMostArguments] = {};
    std::uint64_t result = 0;
    std::uint32_t context = 0;
    std::uint32_t thread = 0;
    std::string text;
    std::vector<OrrinStandInArray> arrays;
    std::vector<std::unique_ptr<double[]>> values;

    /// Adds values under a name that outlives the entry.
    void AddArray(const char* name, unsigned components, const std::vector<double>& numbers);
};

void StartJournal();
void StopJournal();
void ClearJournal();
bool IsJournalOn();

/// Restricts the journal to functions; a * in one stands for any text. False when nothing fits one.
bool SetJournalFilter(const char* const* patterns, std::uint32_t count);
void ClearJournalFilter();

/// Records a call, with what its pointers point to unless they are known to point nowhere; the entry's number, or -1
/// where the journal leaves it out.
std::int64_t RecordCall(const Call& call, bool isReadable = true);
void RecordResult(const Call& call);

std::uint64_t JournalSize();
bool ReadJournalEntry(std::uint64_t number, OrrinStandInEntry& entry);

/// Copies what a call's pointers point to, for the functions where that matters.
void CaptureData(const Call& call, JournalEntry& entry);

} // namespace StandInDriver
