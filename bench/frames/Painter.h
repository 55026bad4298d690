#pragma once

#include "Stage.h"

#include <memory>

namespace Frames {

/// One way of drawing every kind of content. Prepare and Leave bracket the frames of one measurement and are not
/// measured; a frame is one Draw and a glFinish behind it.
class Painter {
public:
    Painter() = default;
    virtual ~Painter() = default;
    Painter(const Painter&) = delete;
    Painter& operator=(const Painter&) = delete;

    virtual void Prepare(Stage& stage, const Content& content) = 0;
    virtual void Draw(const Batches& content) = 0;
    virtual void Draw(const Polygons& content) = 0;
    virtual void Draw(const Labels& content) = 0;
    virtual void Draw(const StaticPoints& content) = 0;
    virtual void Draw(const Tiles& content) = 0;
    virtual void Draw(const Shapes&) {} ///< only the library
    virtual void Leave() {}
};

/// How a host adds vertices to a batch of the library's.
enum class Adding {
    OneByOne,
    InBulk,   ///< from arrays
    Reserved, ///< as records that it writes itself
};

/// What a host of the library chooses.
struct LibraryUse {
    /// The documented order for each batch, EnableClientState... and DisableClientState included, instead of once
    /// around all of them.
    bool bracketsEachBatch = false;
    /// A logger is registered that takes nothing below the level info.
    bool quietLogger = false;
    /// Between BeginSharedDraws and EndSharedDraws.
    bool sharesDraws = false;
    /// Tiles by DrawTexturedQuadrilaterals.
    bool inOneCall = false;
    /// As geometry that stays, which is added when first drawn.
    bool keepsGeometry = false;
    Adding adding = Adding::OneByOne;
};

std::unique_ptr<Painter> DrawWithLibrary(const LibraryUse& use);
/// As programs of the nineties do it, through the exports of the system's module; polygons by GLU.
std::unique_ptr<Painter> DrawByBegin();
/// Records in memory that fixed functions read from there.
std::unique_ptr<Painter> DrawFromClientArrays();
/// A bare loop fills records and copies them, so many at a time, into a ring that is mapped and fenced by segment.
std::unique_ptr<Painter> DrawByHand(int recordsPerPiece);

} // namespace Frames
