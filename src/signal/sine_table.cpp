#include "signal/sine_table.h"

namespace {

// Extended precision has 11 bits more than a double: the low parts are exact to 2^-64.
constexpr long double kPi = 3.14159265358979323846264338327950288L;

/// The series of the sine (first power 1) or the cosine (0), for angles up to pi / 4.
constexpr long double Series(long double ldAngle, int iFirstPower)
{
    long double ldTerm = iFirstPower == 0 ? 1.0L : ldAngle;
    long double ldSum = 0.0L;
    for (int iPower = iFirstPower; iPower < 30; iPower += 2) {
        ldSum += ldTerm;
        ldTerm *= -ldAngle * ldAngle / ((iPower + 1) * (iPower + 2));
    }
    return ldSum;
}

/// Returns sin(iStep * pi / 32), by the symmetries of the sine.
constexpr long double SineOfStep(int iStep)
{
    const int iInTurn = iStep % 64;
    const int iInHalf = iInTurn % 32;
    const int iInQuarter = iInHalf <= 16 ? iInHalf : 32 - iInHalf;
    const long double ldSine = iInQuarter <= 8 ? Series(static_cast<long double>(iInQuarter) * kPi / 32, 1)
                                               : Series(static_cast<long double>(16 - iInQuarter) * kPi / 32, 0);
    return iInTurn < 32 ? ldSine : -ldSine;
}

constexpr SZtaSinCos MakeSinCos(int iStep)
{
    const long double ldSine = SineOfStep(iStep);
    const long double ldCosine = SineOfStep(iStep + 16);
    const double dSin = static_cast<double>(ldSine);
    const double dCos = static_cast<float>(ldCosine);
    return {dSin, static_cast<double>(ldSine - dSin), dCos, static_cast<double>(ldCosine - dCos)};
}

constexpr SZtaSineTable MakeTable()
{
    SZtaSineTable sTable{};
    for (int iStep = 0; iStep < 64; ++iStep) {
        sTable.asEntries[iStep] = MakeSinCos(iStep);
    }
    return sTable;
}

} // namespace

constinit const SZtaSineTable g_sSineTable = MakeTable();
