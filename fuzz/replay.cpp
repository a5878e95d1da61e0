// Runs a fuzz target once over each file of the folders and files named on the command line.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  int ran = 0;
  const auto replay = [&](const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    ++ran;
  };
  for (int i = 1; i < argc; ++i) {
    if (!fs::is_directory(argv[i]))
      replay(argv[i]);
    else
      for (const auto& entry : fs::directory_iterator(argv[i]))
        if (entry.is_regular_file()) replay(entry.path());
  }
  std::printf("%i inputs replayed\n", ran);
  return ran > 0 ? 0 : 1;  // an empty corpus tests nothing
}
