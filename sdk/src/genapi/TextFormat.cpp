#include "genapi/TextFormat.h"

#include <strings.h>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Orvane {
namespace GenApi {
namespace impl {

std::string FormatInteger(int64_t value, ERepresentation representation) {
    char text[64];
    const uint64_t u = static_cast<uint64_t>(value);
    switch (representation) {
    case HexNumber: std::snprintf(text, sizeof text, "0x%" PRIX64, u); break;
    case IPV4Address:
        std::snprintf(text, sizeof text, "%u.%u.%u.%u", unsigned((u >> 24) & 0xFF), unsigned((u >> 16) & 0xFF),
                      unsigned((u >> 8) & 0xFF), unsigned(u & 0xFF));
        break;
    case MACAddress:
        std::snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", unsigned((u >> 40) & 0xFF),
                      unsigned((u >> 32) & 0xFF), unsigned((u >> 24) & 0xFF), unsigned((u >> 16) & 0xFF),
                      unsigned((u >> 8) & 0xFF), unsigned(u & 0xFF));
        break;
    default: std::snprintf(text, sizeof text, "%" PRId64, value); break;
    }
    return text;
}

namespace {

bool ParseSeparated(const std::string& text, char separator, int parts, int base, int64_t& value) {
    uint64_t result = 0;
    const char* p = text.c_str();
    for (int i = 0; i < parts; ++i) {
        char* end = nullptr;
        errno = 0;
        const unsigned long part = std::strtoul(p, &end, base);
        if (end == p || errno || part > 255) return false;
        result = (result << 8) | part;
        if (i < parts - 1) {
            if (*end != separator) return false;
            p = end + 1;
        } else if (*end) {
            return false;
        }
    }
    value = static_cast<int64_t>(result);
    return true;
}

std::string Trim(const std::string& text) {
    size_t b = 0, e = text.size();
    while (b < e && (text[b] == ' ' || text[b] == '\t')) ++b;
    while (e > b && (text[e - 1] == ' ' || text[e - 1] == '\t' || text[e - 1] == '\n')) --e;
    return text.substr(b, e - b);
}

} // namespace

bool ParseInteger(const std::string& raw, int64_t& value) {
    const std::string text = Trim(raw);
    if (text.empty()) return false;
    if (std::count(text.begin(), text.end(), '.') == 3) return ParseSeparated(text, '.', 4, 10, value);
    if (std::count(text.begin(), text.end(), ':') == 5) return ParseSeparated(text, ':', 6, 16, value);
    const char* p = text.c_str();
    char* end = nullptr;
    errno = 0;
    if (text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        const unsigned long long u = std::strtoull(p + 2, &end, 16);
        if (end == p + 2 || *end || errno) return false;
        value = static_cast<int64_t>(u);
        return true;
    }
    const long long v = std::strtoll(p, &end, 10);
    if (end == p || *end || errno) return false;
    value = v;
    return true;
}

std::string FormatFloat(double value, EDisplayNotation notation, int64_t precision) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    // Fixed notation of a huge value needs up to 309 digits before the point.
    char text[400];
    const int digits = precision < 0 ? 6 : precision > 60 ? 60 : static_cast<int>(precision);
    std::chars_format format = std::chars_format::general;
    if (notation == fnFixed) format = std::chars_format::fixed;
    if (notation == fnScientific) format = std::chars_format::scientific;
    // %g treats a precision of 0 as 1.
    const int p = format == std::chars_format::general && digits == 0 ? 1 : digits;
    auto r = std::to_chars(text, text + sizeof text - 1, value, format, p);
    if (r.ec != std::errc()) return FormatFloatExact(value);
    *r.ptr = 0;
    return text;
}

std::string FormatFloatExact(double value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    char text[64];
    auto r = std::to_chars(text, text + sizeof text - 1, value);
    *r.ptr = 0;
    return text;
}

bool ParseFloat(const std::string& raw, double& value) {
    std::string text = Trim(raw);
    if (!text.empty() && text[0] == '+') text.erase(0, 1);
    if (text.empty() || text[0] == '+' || text[0] == ' ') return false;
    double v = 0.0;
    const char* end = text.data() + text.size();
    const auto r = std::from_chars(text.data(), end, v, std::chars_format::general);
    if (r.ec != std::errc() || r.ptr != end) return false;
    value = v;
    return true;
}

bool ParseBoolean(const std::string& raw, bool& value) {
    const std::string text = Trim(raw);
    if (text == "1" || strcasecmp(text.c_str(), "true") == 0) {
        value = true;
        return true;
    }
    if (text == "0" || strcasecmp(text.c_str(), "false") == 0) {
        value = false;
        return true;
    }
    return false;
}

} // namespace impl
} // namespace GenApi
} // namespace Orvane
