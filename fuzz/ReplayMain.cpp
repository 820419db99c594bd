// Runs a fuzz target's entry on files instead of under libFuzzer: every regular file in each
// directory named on the command line (or each file named) is one input. This is how the test
// suite replays the inputs that once made a target fail.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  namespace fs = std::filesystem;
  std::vector<fs::path> inputs;
  for (int i = 1; i < argc; ++i) {
    if (fs::is_directory(argv[i])) {
      for (const auto& entry : fs::directory_iterator(argv[i])) {
        if (entry.is_regular_file()) inputs.push_back(entry.path());
      }
    } else {
      inputs.emplace_back(argv[i]);
    }
  }
  std::sort(inputs.begin(), inputs.end());
  if (inputs.empty()) {
    std::cerr << "no inputs\n";
    return 1;
  }
  for (const auto& input : inputs) {
    std::ifstream file(input, std::ios::binary);
    if (!file) {
      std::cerr << "cannot read " << input << '\n';
      return 1;
    }
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                  std::istreambuf_iterator<char>());
    std::cout << "replaying " << input.filename().string() << " (" << bytes.size() << " bytes)"
              << std::endl;
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
  }
  std::cout << "replayed " << inputs.size() << " inputs\n";
  return 0;
}
