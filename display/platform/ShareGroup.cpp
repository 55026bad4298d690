#include "ShareGroup.h"

#include "Border.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <utility>

namespace KTR {

namespace {

std::mutex s_mutex;
std::vector<LibraryContext> s_contexts; // the oldest first
HGLRC s_master = nullptr;
bool s_programsTried = false;
SharedNames s_leftBehind;
unsigned long long s_number = 1;
// Asked at each selection of a context, mostly for nothing.
std::atomic<bool> s_anythingLeftBehind{false};

template <typename Predicate> LibraryContext FindIf(Predicate predicate) {
    const auto found = std::find_if(s_contexts.begin(), s_contexts.end(), predicate);
    return found == s_contexts.end() ? LibraryContext{} : *found;
}

LibraryContext FindContext(HGLRC context) {
    return FindIf([context](const LibraryContext& known) { return known.context == context; });
}

bool IsAlive(HGLRC context) {
    return context && FindContext(context).context;
}

bool Shares(const LibraryContext& context) {
    return context.shares;
}

template <typename Name> void Append(std::vector<Name>& to, const std::vector<Name>& names) {
    to.insert(to.end(), names.begin(), names.end());
}

} // namespace

bool ShareGroup::Add(const LibraryContext& context) {
    try {
        const std::lock_guard lock(s_mutex);
        s_contexts.push_back(context);
        return true;
    } catch (...) {
        DropCaught();
        return false;
    }
}

void ShareGroup::Remove(HGLRC context) {
    const std::lock_guard lock(s_mutex);
    std::erase_if(s_contexts, [context](const LibraryContext& known) { return known.context == context; });
    if (!FindIf(Shares).context) {
        s_leftBehind = {};
        s_anythingLeftBehind = false;
        s_programsTried = false;
        ++s_number;
    }
}

LibraryContext ShareGroup::Find(HGLRC context) {
    const std::lock_guard lock(s_mutex);
    return context ? FindContext(context) : LibraryContext{};
}

LibraryContext ShareGroup::AnyOwnedBy(const COpenGLView* view) {
    const std::lock_guard lock(s_mutex);
    return FindIf([view](const LibraryContext& known) { return known.owner == view; });
}

HGLRC ShareGroup::ContextToShareWith() {
    const std::lock_guard lock(s_mutex);
    return IsAlive(s_master) ? s_master : FindIf(Shares).context;
}

bool ShareGroup::HasMembers() {
    const std::lock_guard lock(s_mutex);
    return FindIf(Shares).context != nullptr;
}

bool ShareGroup::IsMaster(HGLRC context) {
    const std::lock_guard lock(s_mutex);
    return context && context == s_master;
}

void ShareGroup::OfferMastership(HGLRC context, bool wantsPrograms) {
    const std::lock_guard lock(s_mutex);
    if (!IsAlive(s_master) || (wantsPrograms && !s_programsTried)) {
        s_master = context;
    }
}

void ShareGroup::SetProgramsTried() {
    const std::lock_guard lock(s_mutex);
    s_programsTried = true;
}

bool ShareGroup::AreProgramsTried() {
    const std::lock_guard lock(s_mutex);
    return s_programsTried;
}

ShareGroup::Leaving ShareGroup::Leave(HGLRC context) {
    const std::lock_guard lock(s_mutex);
    for (LibraryContext& known : s_contexts) {
        known.drawsWithPrograms = known.drawsWithPrograms && known.context != context;
    }
    if (!context || context != s_master) {
        return Leaving::Member;
    }
    s_master = FindIf([](const LibraryContext& known) { return known.drawsWithPrograms; }).context;
    if (s_master) {
        return Leaving::Passed;
    }
    s_programsTried = false;
    return Leaving::Last;
}

void ShareGroup::LeaveBehind(const SharedNames& names) {
    if (names.IsEmpty()) {
        return;
    }
    const std::lock_guard lock(s_mutex);
    if (!FindIf(Shares).context) {
        return;
    }
    try {
        Append(s_leftBehind.buffers, names.buffers);
        Append(s_leftBehind.textures, names.textures);
        Append(s_leftBehind.samplers, names.samplers);
        Append(s_leftBehind.programs, names.programs);
        Append(s_leftBehind.fences, names.fences);
    } catch (...) {
        DropCaught();
        // What was taken so far is deleted; the rest goes with the group.
    }
    s_anythingLeftBehind = true;
}

SharedNames ShareGroup::TakeLeftBehind() {
    if (!s_anythingLeftBehind) {
        return {};
    }
    const std::lock_guard lock(s_mutex);
    s_anythingLeftBehind = false;
    return std::exchange(s_leftBehind, {});
}

unsigned long long ShareGroup::Number() {
    const std::lock_guard lock(s_mutex);
    return s_number;
}

void ShareGroup::LeaveBufferBehind(unsigned int buffer, unsigned long long number) {
    const std::lock_guard lock(s_mutex);
    if (number != s_number) {
        return;
    }
    try {
        s_leftBehind.buffers.push_back(buffer);
        s_anythingLeftBehind = true;
    } catch (...) {
        DropCaught();
        // Without memory for its name it goes with the group.
    }
}

} // namespace KTR
