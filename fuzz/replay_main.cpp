// Runs a libFuzzer target over every file of its corpus folder, so the kept
// corpus is replayed by ctest under GCC without libFuzzer.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

int RunFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  int runs = 0;
  for (int i = 1; i < argc; ++i) {
    std::filesystem::path arg(argv[i]);
    if (std::filesystem::is_directory(arg)) {
      for (const auto& entry : std::filesystem::recursive_directory_iterator(arg))
        if (entry.is_regular_file()) runs += RunFile(entry.path());
    } else if (std::filesystem::exists(arg)) {
      runs += RunFile(arg);
    }
  }
  // An empty input is always worth a run: parsers must survive it.
  LLVMFuzzerTestOneInput(nullptr, 0);
  std::printf("replayed %d inputs\n", runs);
  return 0;
}
