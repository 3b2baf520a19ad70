#pragma once

/// Sine and cosine of one angle, each as a main part and its error.
struct SZtaSinCos {
    double dSin;
    double dSinLow;
    double dCos; ///< has the 24 bits of a float, so that its product with 29 bits is exact
    double dCosLow;
};

/// A full turn in steps of pi / 32.
struct SZtaSineTable {
    SZtaSinCos asEntries[64];
};

extern const SZtaSineTable g_sSineTable;
