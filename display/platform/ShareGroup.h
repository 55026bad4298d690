#pragma once

#include "../values/GLTypes.h"

#include <vector>

namespace KTR {

class COpenGLView;

/// A living rendering context that the library made.
struct LibraryContext {
    HGLRC context = nullptr;
    COpenGLView* owner = nullptr;   ///< the view that deletes it
    bool shares = false;            ///< made by attributes: it shares objects with all others that are
    bool drawsWithPrograms = false; ///< a main context whose view was not shut down
    long number = -1;               ///< of the attribute-based creation, from 0
};

/// Names of shared objects whose own context is gone.
struct SharedNames {
    std::vector<unsigned int> buffers;
    std::vector<unsigned int> textures;
    std::vector<unsigned int> samplers;
    std::vector<unsigned int> programs;
    std::vector<GLsync> fences;

    bool IsEmpty() const {
        return buffers.empty() && textures.empty() && samplers.empty() && programs.empty() && fences.empty();
    }
};

/// The rendering contexts that the library made: who owns each, which of them share their objects, which of those is
/// the master, on which the stock programs were built, and who takes over from it. What is not here the library did not
/// make, and does not delete.
///
/// Everything is under one lock, so that two views that close at once on two threads find one and the same next master.
/// Nothing is called under it. It works before the first view and after the class-wide locks are gone.
class ShareGroup {
public:
    /// False when there is no memory.
    static bool Add(const LibraryContext& context);
    static void Remove(HGLRC context);
    /// The context, or one without a handle when the library did not make it.
    static LibraryContext Find(HGLRC context);
    /// A context that the view owns; one without a handle when there is none left.
    static LibraryContext AnyOwnedBy(const COpenGLView* view);
    /// The context to share with: the master, or any other of the group, or null.
    static HGLRC ContextToShareWith();
    static bool HasMembers();

    static bool IsMaster(HGLRC context);
    /// Makes a new main context the master where there is none. A master that has no stock programs, since the process
    /// drew without them when it was made, has to give way to one that `wantsPrograms`.
    static void OfferMastership(HGLRC context, bool wantsPrograms);
    /// Written down by the master before it builds the stock programs.
    static void SetProgramsTried();
    static bool AreProgramsTried();

    enum class Leaving {
        Member, ///< somebody else is the master
        Passed, ///< it was the master; the oldest other that draws with programs is now
        Last,   ///< it was the master, and nobody draws with the programs any more
    };
    /// The context keeps the shared objects alive but needs the programs no longer.
    static Leaving Leave(HGLRC context);

    /// Names for any member to delete, who has a context current. Without members they are gone already; without memory
    /// they go with the last one.
    static void LeaveBehind(const SharedNames& names);
    static SharedNames TakeLeftBehind();
    /// Of the present group; another one after the last member is gone. Names of a group that is gone are gone too.
    static unsigned long long Number();
    /// LeaveBehind for a buffer of the group `number`, if that is still there.
    static void LeaveBufferBehind(unsigned int buffer, unsigned long long number);
};

} // namespace KTR
