// Running orvctl as a user runs it, for the process tests: a fixture with a
// temporary directory that runs orvctl with arguments and collects its exit
// status, stdout lines and stderr, and a line matcher for numbers.
#ifndef ORVANE_TESTS_ORVCTL_RUN_H
#define ORVANE_TESTS_ORVCTL_RUN_H

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace orvctltest {

namespace fs = std::filesystem;

struct RunResult {
    int status = -1;
    std::vector<std::string> out; // stdout lines
    std::string err;              // stderr, whole
};

inline std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

inline std::string ReadFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Matches a line against a pattern in which "<n>" stands for one or more
// digits and "<f>" for digits, a point and digits; every other character
// stands for itself. The numbers matched are appended to `numbers`.
inline bool Matches(const std::string& line, const std::string& pattern, std::vector<std::string>* numbers = nullptr) {
    size_t i = 0, p = 0;
    auto digits = [&line, &i] {
        const size_t start = i;
        while (i < line.size() && line[i] >= '0' && line[i] <= '9') ++i;
        return i > start;
    };
    while (p < pattern.size()) {
        if (pattern.compare(p, 3, "<n>") == 0 || pattern.compare(p, 3, "<f>") == 0) {
            const size_t start = i;
            if (!digits()) return false;
            if (pattern[p + 1] == 'f' && (i >= line.size() || line[i++] != '.' || !digits())) return false;
            if (numbers) numbers->push_back(line.substr(start, i - start));
            p += 3;
        } else if (i < line.size() && line[i] == pattern[p]) {
            ++i;
            ++p;
        } else {
            return false;
        }
    }
    return i == line.size();
}

class OrvctlProcess : public ::testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "orvctl-grab-XXXXXX").string();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        dir = pattern;
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(dir, ignored);
    }

    // Runs orvctl with these arguments (single-quoted for the shell); stderr
    // goes to a file, so it is not a terminal and no progress bar is drawn.
    RunResult Orvctl(const std::vector<std::string>& args) {
        std::string command = std::string("'") + ORVCTL_PATH + "'";
        for (const std::string& a : args) command += " '" + a + "'";
        const fs::path errFile = dir / "stderr.txt";
        command += " 2>'" + errFile.string() + "'";
        RunResult run;
        FILE* pipe = popen(command.c_str(), "r");
        if (!pipe) return run;
        std::string out;
        char buffer[4096];
        size_t n;
        while ((n = fread(buffer, 1, sizeof buffer, pipe)) > 0) out.append(buffer, n);
        const int raw = pclose(pipe);
        run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
        run.out = Lines(out);
        run.err = ReadFile(errFile);
        fs::remove(errFile);
        return run;
    }

    fs::path dir;
};

} // namespace orvctltest

#endif
