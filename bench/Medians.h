#pragma once

#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

/// Prints what Google Benchmark measured, and keeps the median of each benchmark's repetitions.
class Medians : public benchmark::ConsoleReporter {
 public:
  Medians() : ConsoleReporter(OO_None) {}
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
        m_microseconds[run.run_name.function_name] = run.GetAdjustedRealTime();
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  double operator[](const std::string& name) const { return m_microseconds.at(name); }

  /// A benchmark of real time in microseconds, repeated five times.
  template <class... Arguments>
  static benchmark::internal::Benchmark* Add(const std::string& name, Arguments&&... arguments) {
    return benchmark::RegisterBenchmark(name.c_str(), std::forward<Arguments>(arguments)...)
        ->Unit(benchmark::kMicrosecond)
        ->Repetitions(5)
        ->ReportAggregatesOnly()
        ->MinTime(0.2);
  }

 private:
  std::map<std::string, double> m_microseconds;
};
