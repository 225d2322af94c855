// Random bytes for a fuzz target, in a program without a fuzzer and without its cost: how many million
// steps something lives through. What the target does with them is its own business.
//
// usage: storm INPUTS [SEED]

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  const long inputs = argc > 1 ? std::atol(argv[1]) : 0;
  if (inputs < 1) {
    std::fprintf(stderr, "usage: %s INPUTS [SEED]\n", argv[0]);
    return 2;
  }
  const unsigned long seed = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : std::random_device()();
  std::fprintf(stderr, "%ld inputs, seed %lu\n", inputs, seed);
  LLVMFuzzerInitialize(&argc, &argv);
  std::mt19937_64 random(seed);
  std::vector<std::uint8_t> bytes(1024);
  for (long i = 0; i < inputs; ++i) {
    for (std::size_t at = 0; at < bytes.size(); at += sizeof(std::uint64_t)) {
      const std::uint64_t number = random();
      std::memcpy(&bytes[at], &number, sizeof number);
    }
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    if (i % 10'000 == 9'999) {
      std::fprintf(stderr, "%ld inputs\n", i + 1);
    }
  }
  return 0;
}
