#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>

namespace vantrel::bench {

/// One measurement of peak memory: `prepare` loads the inputs, `run` is the work whose peak is measured.
struct PeakMemoryCase {
  std::function<void()> prepare;
  std::function<void()> run;
};

/// Measures how far the resident size of a fresh copy of this program rises above its size after
/// `prepare`, while it runs the named case, in MiB. A fresh process is needed because heap pages that
/// an earlier benchmark freed stay resident and would hide the growth. Negative when it failed.
double peakResidentGrowthMiB(const std::string& caseName);

/// Call first in main(): when this process was started by peakResidentGrowthMiB, it runs the case,
/// prints the growth and returns the exit code; otherwise it returns nothing.
std::optional<int> runPeakMemoryCaseIfAsked(int argc, char** argv,
                                            const std::map<std::string, PeakMemoryCase>& cases);

} // namespace vantrel::bench
