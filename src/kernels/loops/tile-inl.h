/// The types that the traversal of interleave-inl.h and the tiles of the variants share. A tile is a class with the
/// public members of TileAvx2; with masked tiles also InterleaveMasked and DeinterleaveMasked, as in TileAvx512.
#pragma once

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

/// The layout of the vectors of a tile in the mux. Contiguous: the mux has only the planes of the tile, and its vectors
/// follow each other. Otherwise a frame of the tile is a whole vector, half of a vector, or a 128-bit lane; the lanes
/// of a vector are kLaneElements frames apart.
enum class MuxLayout { Contiguous, WholeVectors, HalfVectors, Lanes };

/// The tiles of a variant, the widest first. Each processes the remainder of the one before.
template <class... Tile>
struct TileList {
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
