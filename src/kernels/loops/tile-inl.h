/// What the walk over the elements and the rows of the targets have in common.
#pragma once

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

/// How the rows of a tile stand in the mux: as lines that follow each other, if the mux has no other streams than the
/// tile; as pieces of frames that are whole rows, halves of rows, or lanes, those of a row kLaneElements frames apart.
enum class MuxLayout { Contiguous, WholeVectors, HalfVectors, Lanes };

/// The rows of a target, the widest ones first: what they leave is for the next.
template <class... Tile>
struct TileList {
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
