#pragma once

#include "DriverInterface.h"
#include "core/Functions.h"

#include <set>
#include <string>
#include <unordered_map>

namespace StandInDriver {

struct Context;

constexpr unsigned kObjectKinds = static_cast<unsigned>(DriverObject::Count);

/// A name that is or was in use.
struct TrackedObject {
    bool alive = true;
    /// A deleted shader lives on, unseen, in the programs that it is attached to.
    bool deletePending = false;
    std::uint32_t attachments = 0;
    std::set<std::uint64_t> attached;
};

/// The names of one share group, or those that a single context keeps for itself.
class ObjectTable {
public:
    ObjectTable() = default;
    ObjectTable(const ObjectTable&) = delete;
    ObjectTable& operator=(const ObjectTable&) = delete;
    /// What is alive still goes with its last context: counted as abandoned.
    ~ObjectTable();

    TrackedObject* Find(DriverObject kind, std::uint64_t name);
    TrackedObject& Create(DriverObject kind, std::uint64_t name);
    std::uint32_t CountAlive(DriverObject kind) const;
    /// Takes over all names of a table whose context joins this group.
    void TakeFrom(ObjectTable& other);

private:
    using Names = std::unordered_map<std::uint64_t, TrackedObject>;
    Names& NamesOf(DriverObject kind) { return m_names[static_cast<unsigned>(kind)]; }

    Names m_names[kObjectKinds];
};

/// Whether a function's arguments or result name objects.
bool TracksObjects(unsigned index);

/// Judges the names that a call uses or deletes; a fault is a violation, and the call goes on.
void JudgeObjects(const Call& call);

/// The same for one name that the function's table does not know the kind of.
void JudgeNamedObject(Context& context, unsigned index, DriverObject kind, std::uint64_t name);

/// Takes note of the names that a call has made.
void TrackObjects(const Call& call);

/// A draw with a program that was deleted is a violation.
void JudgeDrawnProgram(const Call& call);

void TrackNewList(Call& call);
/// False, and a violation, without a current context to make the lists in.
bool JudgeFontLists(Call& call);
void TrackFontLists(Call& call);

const char* NameOfKind(DriverObject kind);
std::uint32_t AbandonedObjectCount(DriverObject kind);
void ForgetAbandonedObjects();

} // namespace StandInDriver
