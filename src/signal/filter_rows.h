/// Where a filter keeps its rows in the order of a run (see packed_filter_bank.h): in a block of their own, which the
/// filter names. The entry behind those of the phases in its table of row pointers points to it, which is a place that
/// the table always has, and the head tells whether that entry is set for this very block.
///
/// A filter has none until they are prepared here: the functions of ipp.h neither make nor use them, and whoever makes
/// a filter anew in the same place has none again. Nor has a copy of a filter any.
#pragma once

struct IppsResamplingPolyphaseFixed_16s;
struct SZtaPackedFilterBank;

/// Prepares the rows of a filter that has none yet. Leaves it without where its form does not allow them, where the
/// selected build has no use for them, and where there is no memory: it then runs without, to the same samples.
/// [allocates]
void ZtaPrepareRowsOf(IppsResamplingPolyphaseFixed_16s* pSpec) noexcept;

/// The prepared rows of a filter, which are empty where it has none, and for no filter. [no allocation] [no lock]
const SZtaPackedFilterBank& ZtaPreparedRowsOf(const IppsResamplingPolyphaseFixed_16s* pSpec) noexcept;

/// Frees the prepared rows of a filter, if it has any; comes before the filter itself is freed.
void ZtaFreePreparedRowsOf(IppsResamplingPolyphaseFixed_16s* pSpec) noexcept;
