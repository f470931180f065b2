// Runs a fuzzer's corpus through its reader once, as a test: each file of the given directory.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, std::size_t size);

int main(int, char** arguments) {
   std::size_t files = 0;
   for (auto const& entry : std::filesystem::directory_iterator(arguments[1])) {
      std::cout << entry.path().filename() << std::endl; // before it runs: it may end here
      std::ifstream file(entry.path(), std::ios::binary);
      std::string bytes{std::istreambuf_iterator<char>(file), {}};
      LLVMFuzzerTestOneInput(reinterpret_cast<uint8_t const*>(bytes.data()), bytes.size());
      ++files;
   }
   return files == 0 ? 1 : 0;
}
