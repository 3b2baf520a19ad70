#include "bench/common/models.h"
#include "bench/peers/workload.h"

#include <atomic>
#include <thread>

#include <sys/resource.h>

namespace bench {

namespace {

constexpr std::size_t kEngines = 8;

/// An engine with its own buffers: 1024 stereo frames from 16-in-16 to 24-in-32, 12 KiB in total.
class EngineWorker {
public:
    explicit EngineWorker(zta::host::Module& module)
        : engine_(module, Placement::Staggered), memory_(std::make_shared<Memory>(1 << 16)),
          in_(MakeLayout(memory_, Sample::Int16, 2, 1, 1024, Placement::Staggered)),
          out_(MakeLayout(memory_, Sample::Int24In32, 2, 1, 1024, Placement::Staggered)), source_(in_), target_(out_)
    {
        Fill(in_, Content::Noise);
        Poison(out_);
    }

    void Call() { engine_.Require(engine_->CopyAudioSamples(source_.One(), target_.One())); }

    std::optional<std::string> Check() const
    {
        return EqualTo(out_, [this] { return Converted(in_, out_); })();
    }

private:
    Engine engine_;
    std::shared_ptr<Memory> memory_;
    BufferLayout in_;
    BufferLayout out_;
    BufferSet source_;
    BufferSet target_;
};

long VoluntarySwitches()
{
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
}

/// Eight threads, spread over the CPUs, each with its own engine. The time of one call is the mean CPU time of the
/// threads, which excludes scheduling. A thread that waits for another shows as a voluntary context switch.
class EightEngines {
public:
    explicit EightEngines(const std::vector<std::shared_ptr<EngineWorker>>& workers) : workers_(workers) {}

    double operator()(int calls)
    {
        std::atomic<std::size_t> ready = 0;
        std::vector<double> seconds(workers_.size());
        std::vector<std::thread> threads;
        for (std::size_t i = 0; i < workers_.size(); ++i) {
            threads.emplace_back([&, i] {
                PinToProcessor(i);
                EngineWorker& worker = *workers_[i];
                worker.Call();
                ++ready;
                while (ready != workers_.size()) {
                    std::this_thread::yield();
                }
                const long before = VoluntarySwitches();
                const double start = ThreadSeconds();
                for (int call = 0; call < calls; ++call) {
                    worker.Call();
                }
                seconds[i] = ThreadSeconds() - start;
                waits_ += VoluntarySwitches() - before;
            });
        }
        double sum = 0;
        for (std::size_t i = 0; i < threads.size(); ++i) {
            threads[i].join();
            sum += seconds[i];
        }
        return sum / calls / static_cast<double>(threads.size());
    }

    long VoluntarySwitchCount() const { return waits_; }

private:
    std::vector<std::shared_ptr<EngineWorker>> workers_;
    std::atomic<long> waits_ = 0;
};

Workload MakeEngines(const Bench& bench)
{
    std::vector<std::shared_ptr<EngineWorker>> workers;
    for (std::size_t i = 0; i < kEngines; ++i) {
        workers.push_back(std::make_shared<EngineWorker>(bench.module));
    }
    const auto eight = std::make_shared<EightEngines>(workers);
    Workload workload;
    workload.sliceSeconds = 4e-3;
    workload.prepare = [] {};
    Contender all;
    all.name = "eight engines";
    all.role = Role::Library;
    all.timer = [eight](int calls) { return (*eight)(calls); };
    all.once = [eight] { (*eight)(20000); };
    all.check = [workers, eight]() -> std::optional<std::string> {
        for (const auto& worker : workers) {
            if (const auto wrong = worker->Check()) {
                return wrong;
            }
        }
        if (eight->VoluntarySwitchCount() != 0) {
            return "a thread waited " + std::to_string(eight->VoluntarySwitchCount()) + " times";
        }
        return std::nullopt;
    };
    workload.contenders.push_back(std::move(all));
    workload.contenders.push_back(MakeContender(
        "one engine", Role::Baseline, [worker = workers.front()] { worker->Call(); },
        [worker = workers.front()] { return worker->Check(); }));
    workload.targets = {{Role::Baseline, 0.95}};
    return workload;
}

} // namespace

void AddEngines(std::vector<WorkloadFactory>& factories, const Bench& bench)
{
    factories.push_back(
        {"Eight engines", "16 to 24-in-32, 1024 stereo frames each", [&bench] { return MakeEngines(bench); }});
}

} // namespace bench
