/// The permutations of the AVX-512 tiles, as tables of element, slot and byte positions.
#pragma once

#include <cstdint>

namespace zta::loops::ZTA_LOOP_VARIANT {
namespace {

template <int Bytes>
struct SlotIndex;
template <>
struct SlotIndex<2> {
    using Type = std::uint16_t;
};
template <>
struct SlotIndex<4> {
    using Type = std::uint32_t;
};
template <>
struct SlotIndex<8> {
    using Type = std::uint64_t;
};

/// Elements of 3 and 6 bytes are unpacked to slots of 4 and 8 bytes between loading and storing.
template <int Bytes>
struct Avx512TileTables {
    static constexpr int kSlotBytes = Bytes % 3 == 0 ? Bytes / 3 * 4 : Bytes;
    static constexpr bool kIsPacked = kSlotBytes != Bytes;
    static constexpr unsigned long kLaneElements = 16 / kSlotBytes; ///< elements of a 128-bit lane
    static constexpr unsigned long kFrames = 4 * kLaneElements;     ///< elements of a vector
    using Index = typename SlotIndex<kSlotBytes>::Type;

    /// The source element of each slot of a vector. The elements of a second source follow those of the first.
    struct Permutation {
        std::uint8_t aucElement[kFrames];
    };

    /// Returns the lane of a slot.
    static constexpr unsigned long Lane(unsigned long i) { return i / kLaneElements; }

    /// For a mux of Planes planes, at most as many as a lane has elements: a vector of the mux has four lanes of
    /// consecutive frames.
    template <unsigned long Planes>
    static constexpr unsigned long NarrowFrame(unsigned long i)
    {
        constexpr unsigned long kLaneFrames = kLaneElements / Planes;
        return i % kLaneElements / kLaneFrames * 4 * kLaneFrames + Lane(i) * kLaneFrames + i % kLaneFrames;
    }

    /// For a tile of twice as many planes as a lane has elements: a vector of the mux has two frames. Even lanes hold
    /// the first half of their planes, odd lanes the second half.
    static constexpr unsigned long WideFrame(unsigned long i) { return i % kLaneElements * 2 + Lane(i) / 2; }

    // The permutations before interleaving and after deinterleaving.

    template <unsigned long Planes>
    static constexpr Permutation kNarrowOrder = [] {
        Permutation s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.aucElement[i] = static_cast<std::uint8_t>(NarrowFrame<Planes>(i));
        }
        return s;
    }();

    template <unsigned long Planes>
    static constexpr Permutation kNarrowInverse = [] {
        Permutation s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.aucElement[NarrowFrame<Planes>(i)] = static_cast<std::uint8_t>(i);
        }
        return s;
    }();

    /// The elements of planes p and p + kLaneElements, the first and the second source, from ulFirstFrame on.
    static constexpr Permutation WideOrder(unsigned long ulFirstFrame)
    {
        Permutation s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.aucElement[i] = static_cast<std::uint8_t>(Lane(i) % 2 * kFrames + ulFirstFrame + WideFrame(i));
        }
        return s;
    }

    /// The elements of the plane that was the first source (0) or the second (1) of WideOrder.
    static constexpr Permutation WideOrderInverse(unsigned long ulPlane)
    {
        Permutation s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            if (Lane(i) % 2 == ulPlane) {
                s.aucElement[WideFrame(i)] = static_cast<std::uint8_t>(i);
                s.aucElement[2 * kLaneElements + WideFrame(i)] = static_cast<std::uint8_t>(kFrames + i);
            }
        }
        return s;
    }

    static constexpr Permutation kWideFirstFrames = WideOrder(0);
    static constexpr Permutation kWideLastFrames = WideOrder(2 * kLaneElements);
    static constexpr Permutation kWideFirstPlane = WideOrderInverse(0);
    static constexpr Permutation kWideSecondPlane = WideOrderInverse(1);

    /// Byte positions in one or two vectors.
    struct alignas(64) Bytes64 {
        std::uint8_t auc[64];
    };
    /// Slot positions in one or two vectors.
    struct alignas(64) Slots {
        Index a[64 / kSlotBytes];
    };

    template <const Permutation& rOrder>
    static constexpr Slots kSlots = [] {
        Slots s{};
        for (unsigned long i = 0; i < kFrames; ++i) {
            s.a[i] = rOrder.aucElement[i];
        }
        return s;
    }();

    /// Packed elements to slots.
    template <const Permutation& rOrder>
    static constexpr Bytes64 kUnpackIndices = [] {
        Bytes64 s{};
        for (unsigned long i = 0; i < 64; ++i) {
            const unsigned long ulElement = rOrder.aucElement[i / kSlotBytes];
            const unsigned long ulByte = ulElement % kFrames * Bytes + i % kSlotBytes % Bytes;
            s.auc[i] = static_cast<std::uint8_t>(ulElement / kFrames * 64 + ulByte);
        }
        return s;
    }();

    /// Slots to packed elements.
    template <const Permutation& rOrder>
    static constexpr Bytes64 kPackIndices = [] {
        Bytes64 s{};
        for (unsigned long i = 0; i < kFrames * Bytes; ++i) {
            s.auc[i] = static_cast<std::uint8_t>(rOrder.aucElement[i / Bytes] * kSlotBytes + i % Bytes);
        }
        return s;
    }();

    /// Returns the byte position of a slot's byte in packed elements. They are contiguous in the whole vector, or at
    /// the start of each half, or at the start of each lane: ulGroupBytes is 64, 32 or 16.
    static constexpr unsigned long PackedByte(unsigned long ulSlotByte, unsigned long ulGroupBytes)
    {
        const unsigned long ulByte = ulSlotByte / kSlotBytes * Bytes + ulSlotByte % kSlotBytes % Bytes;
        const unsigned long ulBytes = ulGroupBytes / kSlotBytes * Bytes;
        return ulByte / ulBytes * ulGroupBytes + ulByte % ulBytes;
    }

    static constexpr Bytes64 MakeUnpackIndices(unsigned long ulGroupBytes)
    {
        Bytes64 s{};
        for (unsigned long i = 0; i < 64; ++i) {
            s.auc[i] = static_cast<std::uint8_t>(PackedByte(i, ulGroupBytes));
        }
        return s;
    }

    static constexpr Bytes64 MakePackIndices(unsigned long ulGroupBytes)
    {
        Bytes64 s{};
        for (unsigned long i = 0; i < 64; ++i) {
            if (i % kSlotBytes < Bytes) {
                s.auc[PackedByte(i, ulGroupBytes)] = static_cast<std::uint8_t>(i);
            }
        }
        return s;
    }

    static constexpr Bytes64 kUnpackContiguous = MakeUnpackIndices(64);
    static constexpr Bytes64 kUnpackHalves = MakeUnpackIndices(32);
    static constexpr Bytes64 kUnpackLanes = MakeUnpackIndices(16);
    static constexpr Bytes64 kPackContiguous = MakePackIndices(64);
    static constexpr Bytes64 kPackHalves = MakePackIndices(32);
    static constexpr Bytes64 kPackLanes = MakePackIndices(16);

    /// True for permutations of one vector.
    template <const Permutation& rOrder>
    static constexpr bool kUsesOneSource = [] {
        for (const std::uint8_t ucElement : rOrder.aucElement) {
            if (ucElement >= kFrames) {
                return false;
            }
        }
        return true;
    }();
};

} // namespace
} // namespace zta::loops::ZTA_LOOP_VARIANT
