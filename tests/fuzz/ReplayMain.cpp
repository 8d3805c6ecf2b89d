// Replays fuzz inputs without libFuzzer: every regular file of the folders
// (or files) named on the command line, in name order, is given to the
// target's LLVMFuzzerTestOneInput once. A crash or sanitizer report ends the
// program as it would end the fuzzer; otherwise it prints how many inputs ran
// and exits 0. A folder that does not exist is an error (exit 2), so that a
// misnamed corpus cannot pass by replaying nothing.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

bool ReadFile(const std::filesystem::path& path, std::vector<uint8_t>& bytes) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return !in.bad();
}

} // namespace

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        const fs::path arg(argv[i]);
        std::error_code ec;
        if (fs::is_directory(arg, ec)) {
            for (const fs::directory_entry& e : fs::recursive_directory_iterator(arg))
                if (e.is_regular_file() && e.path().filename().string()[0] != '.') files.push_back(e.path());
        } else if (fs::is_regular_file(arg, ec)) {
            files.push_back(arg);
        } else {
            std::fprintf(stderr, "%s: no such file or folder\n", argv[i]);
            return 2;
        }
    }
    std::sort(files.begin(), files.end());
    std::vector<uint8_t> bytes;
    for (const fs::path& f : files) {
        if (!ReadFile(f, bytes)) {
            std::fprintf(stderr, "%s: cannot be read\n", f.c_str());
            return 2;
        }
        std::fprintf(stderr, "replaying %s (%zu bytes)\n", f.c_str(), bytes.size());
        // A copy of exactly the input's size, so that ASan sees reads past its end.
        std::vector<uint8_t> exact(bytes);
        LLVMFuzzerTestOneInput(exact.empty() ? nullptr : exact.data(), exact.size());
    }
    std::printf("%zu inputs replayed\n", files.size());
    return 0;
}
