// Checks that an SDK exception names the statement that raised it: its file
// exists under the source tree, its line lies in that file and holds (or
// starts) a raising statement, and its function is the one defined around
// that line.
#ifndef ORVANE_TESTS_RAISE_POSITION_H
#define ORVANE_TESTS_RAISE_POSITION_H

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "Orvane/Exception.h"

namespace orvtest {

inline ::testing::AssertionResult RaisedAtItsStatement(const Orvane::Exception& e) {
    // Paths are relative to the source tree, or to the build directory the
    // compiler ran in (leading "../").
    std::string file = e.GetFileName();
    while (file.rfind("../", 0) == 0) file.erase(0, 3);
    std::ifstream in(std::string(ORVANE_SOURCE_DIR) + "/" + file);
    if (!in) return ::testing::AssertionFailure() << "no source file '" << file << "' (" << e.what() << ")";
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    const int n = e.GetLineNumber();
    if (n < 1 || n > static_cast<int>(lines.size()))
        return ::testing::AssertionFailure()
               << file << " has " << lines.size() << " lines, not " << n << " (" << e.what() << ")";
    // The statement at the line raises: it names a raising macro or helper
    // (a statement may continue on the next lines).
    static const std::regex raising(
        R"(ORV_HERE|ORV_RAISE|ORV_NODE_FAIL|ARV_DO|ARV_CALL|\bRaise\w*\(|\bFail\(|\bCheck\w*\(|__LINE__)");
    std::string statement = lines[n - 1];
    if (!std::regex_search(statement, raising))
        return ::testing::AssertionFailure()
               << file << ":" << n << " is no raising statement: '" << statement << "' (" << e.what() << ")";
    // The function: its definition is the nearest line above that starts a
    // function body naming it (a lambda's __func__ is "operator()").
    const std::string function = e.GetFunctionName();
    if (function.empty()) return ::testing::AssertionFailure() << "no function name (" << e.what() << ")";
    if (function == "operator()") return ::testing::AssertionSuccess();
    const std::regex definition("(^|[\\s:*&~])" + std::regex_replace(function, std::regex(R"([-+*>])"), "\\$&") +
                                R"(\s*\()");
    for (int i = n - 1; i >= 0; --i) {
        const std::string& l = lines[i];
        if (!std::regex_search(l, definition)) continue;
        // A definition starts at column 0 (free functions, out-of-class
        // members) or inside a class body (inline members).
        if (!l.empty() && l[0] != ' ') return ::testing::AssertionSuccess();
        if (l.find('{') != std::string::npos || (i + 1 < n && lines[i + 1].find('{') != std::string::npos))
            return ::testing::AssertionSuccess();
    }
    return ::testing::AssertionFailure() << "no definition of '" << function << "' above " << file << ":" << n << " ("
                                         << e.what() << ")";
}

} // namespace orvtest

#endif
