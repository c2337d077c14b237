#include "bench/Support/PeakMemory.hpp"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <malloc.h>
#include <string>
#include <unistd.h>

namespace vantrel::bench {
namespace {

constexpr const char* childFlag = "--peak-memory-case";

long statusKiB(const char* field) {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.rfind(field, 0) == 0) {
      return std::stol(line.substr(std::strlen(field)));
    }
  }
  return -1;
}

} // namespace

double peakResidentGrowthMiB(const std::string& caseName) {
  const std::string command =
      "/proc/" + std::to_string(getpid()) + "/exe " + childFlag + " '" + caseName + "'";
  FILE* child = popen(command.c_str(), "r");
  if (!child) {
    return -1;
  }
  double growth = -1;
  if (std::fscanf(child, "%lf", &growth) != 1) {
    growth = -1;
  }
  return pclose(child) == 0 ? growth : -1;
}

std::optional<int> runPeakMemoryCaseIfAsked(int argc, char** argv,
                                            const std::map<std::string, PeakMemoryCase>& cases) {
  if (argc != 3 || std::strcmp(argv[1], childFlag) != 0) {
    return std::nullopt;
  }
  const auto found = cases.find(argv[2]);
  if (found == cases.end()) {
    std::cerr << "no peak memory case " << argv[2] << "\n";
    return 2;
  }
  found->second.prepare();
  malloc_trim(0);
  // Writing 5 to clear_refs resets the peak (VmHWM) to the current resident size.
  std::ofstream("/proc/self/clear_refs") << "5";
  const long before = statusKiB("VmRSS:");
  found->second.run();
  const long peak = statusKiB("VmHWM:");
  if (before < 0 || peak < 0) {
    return 1;
  }
  std::cout << double(peak - before) / 1024.0 << "\n";
  return 0;
}

} // namespace vantrel::bench
