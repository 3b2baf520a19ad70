/// Loudness according to EBU R128.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

/// What a LoudnessMeter found. A value is missing if the sound is too short or too quiet for it.
struct Loudness {
    std::optional<double> integrated;   ///< LUFS
    std::optional<double> range;        ///< LU
    std::optional<double> maxMomentary; ///< LUFS
};

/// The filters and the windows are those of libebur128. The gates are here: they keep the energies of all windows in
/// bins of 0.01 LU, so that the memory does not grow with the sound.
class LoudnessMeter {
public:
    /// Whether loudness is defined: the weights of this many channels, and the filters at this rate.
    static bool IsSupported(std::size_t channels, double rate);

    LoudnessMeter(std::size_t channels, double rate);
    ~LoudnessMeter();
    LoudnessMeter(LoudnessMeter&&) noexcept;

    void Add(std::span<const double> interleaved);

    Loudness Value() const;

private:
    class Library;

    /// The windows at or above the absolute gate, by loudness.
    class Gate {
    public:
        Gate();
        void Add(double loudness);
        /// The loudness of the mean energy of all windows, and of those not more than `distance` LU below that.
        std::optional<double> Mean() const;
        std::optional<double> GatedMean(double distance) const;
        /// The distance of two percentiles of the windows not more than `distance` LU below the mean.
        std::optional<double> PercentileRange(double distance, double low, double high) const;

    private:
        struct Bin {
            std::uint64_t count = 0;
            double energy = 0;
        };
        std::size_t FirstBin(double distance) const;

        std::vector<Bin> bins_;
    };

    static constexpr std::size_t kShortTermHops = 30;

    void EndHop();
    double LoudnessOfLast(std::size_t hops);

    std::unique_ptr<Library> library_;
    std::size_t channels_;
    std::size_t hopFrames_;                         ///< 100 ms, as the library rounds them for its windows
    bool hasExactHops_;                             ///< the library measures as many frames as one window
    std::array<double, kShortTermHops> energies_{}; ///< of the latest hops
    std::size_t framesInHop_ = 0;
    std::uint64_t hops_ = 0;
    Gate momentary_;
    Gate shortTerm_;
    std::optional<double> maxMomentary_;
};
