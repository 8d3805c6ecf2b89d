// The QuickOrv data files (data/quickorv/), read by the tests on their own:
// field names in field order, and the enumeration features with their
// entries in constant order.
#ifndef ORVANE_TESTS_CAPI_QUICKORV_DATA_H
#define ORVANE_TESTS_CAPI_QUICKORV_DATA_H

#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

inline std::vector<std::string> QuickOrvDataLines(const std::string& file) {
    std::ifstream in(std::string(ORVANE_SOURCE_DIR) + "/data/quickorv/" + file);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        if (!line.empty() && line[0] != '#') lines.push_back(line);
    return lines;
}

// "<Feature> (<count>): <entries>" lines as (feature, entries).
inline std::vector<std::pair<std::string, std::vector<std::string>>> QuickOrvEnumerations() {
    std::vector<std::pair<std::string, std::vector<std::string>>> features;
    for (const std::string& line : QuickOrvDataLines("enumerations.txt")) {
        const size_t colon = line.find(':');
        std::istringstream head(line.substr(0, colon)), words(line.substr(colon + 1));
        std::string name;
        head >> name;
        std::vector<std::string> entries;
        for (std::string w; words >> w;) entries.push_back(w);
        features.emplace_back(name, entries);
    }
    return features;
}

#endif
