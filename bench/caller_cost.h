// Per-call latency samples reported as percentiles, since a mean hides the
// tail that a host's UI thread feels.
#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

#include <benchmark/benchmark.h>

namespace orvanta::bench {

class LatencySamples {
 public:
  template <typename Body>
  void time(Body body) {
    const auto start = std::chrono::steady_clock::now();
    body();
    samples_.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count());
  }

  // Adds p50_us, p99_us and max_us counters to the benchmark's report.
  void report(benchmark::State& state) {
    if (samples_.empty()) return;
    std::sort(samples_.begin(), samples_.end());
    auto at = [&](double q) { return samples_[static_cast<std::size_t>(q * double(samples_.size() - 1))]; };
    state.counters["p50_us"] = at(0.50);
    state.counters["p99_us"] = at(0.99);
    state.counters["max_us"] = samples_.back();
  }

 private:
  std::vector<double> samples_;
};

}  // namespace orvanta::bench
