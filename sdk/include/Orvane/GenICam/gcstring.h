// Orvane::GenICam::gcstring: the SDK's string type. It holds bytes (embedded
// NULs included) and orders them bytewise, so it can key ordered maps.
#ifndef ORVANE_GENICAM_GCSTRING_H
#define ORVANE_GENICAM_GCSTRING_H

#include <cstddef>
#include <ostream>
#include <string>
#include <utility>

namespace Orvane {
namespace GenICam {

class gcstring {
public:
    static constexpr size_t npos = std::string::npos;

    gcstring() = default;
    gcstring(const char* text) : m_text(text ? text : "") {}
    gcstring(const char* text, size_t length) : m_text(text ? std::string(text, length) : std::string()) {}
    gcstring(const std::string& text) : m_text(text) {}
    gcstring(std::string&& text) : m_text(std::move(text)) {}
    gcstring(size_t count, char c) : m_text(count, c) {}

    const char* c_str() const { return m_text.c_str(); }
    const char* data() const { return m_text.data(); }
    size_t size() const { return m_text.size(); }
    size_t length() const { return m_text.size(); }
    bool empty() const { return m_text.empty(); }
    void clear() { m_text.clear(); }

    operator const char*() const { return m_text.c_str(); }
    const std::string& str() const { return m_text; }

    gcstring& operator+=(const gcstring& other) {
        m_text += other.m_text;
        return *this;
    }
    gcstring& operator+=(const char* other) {
        m_text += (other ? other : "");
        return *this;
    }
    gcstring& operator+=(char c) {
        m_text += c;
        return *this;
    }

    size_t find(const gcstring& what, size_t from = 0) const { return m_text.find(what.m_text, from); }
    size_t find(char c, size_t from = 0) const { return m_text.find(c, from); }
    gcstring substr(size_t from, size_t count = npos) const { return gcstring(m_text.substr(from, count)); }

    friend bool operator==(const gcstring& a, const gcstring& b) { return a.m_text == b.m_text; }
    friend bool operator!=(const gcstring& a, const gcstring& b) { return a.m_text != b.m_text; }
    friend bool operator<(const gcstring& a, const gcstring& b) { return a.m_text < b.m_text; }
    friend bool operator>(const gcstring& a, const gcstring& b) { return a.m_text > b.m_text; }
    friend bool operator<=(const gcstring& a, const gcstring& b) { return a.m_text <= b.m_text; }
    friend bool operator>=(const gcstring& a, const gcstring& b) { return a.m_text >= b.m_text; }
    friend bool operator==(const gcstring& a, const char* b) { return a.m_text == (b ? b : ""); }
    friend bool operator!=(const gcstring& a, const char* b) { return !(a == b); }
    friend bool operator==(const char* a, const gcstring& b) { return b == a; }
    friend bool operator!=(const char* a, const gcstring& b) { return !(b == a); }
    friend gcstring operator+(const gcstring& a, const gcstring& b) { return gcstring(a.m_text + b.m_text); }
    friend gcstring operator+(const gcstring& a, const char* b) { return gcstring(a.m_text + (b ? b : "")); }
    friend gcstring operator+(const char* a, const gcstring& b) { return gcstring((a ? a : "") + b.m_text); }
    friend std::ostream& operator<<(std::ostream& os, const gcstring& s) { return os << s.m_text; }

private:
    std::string m_text;
};

} // namespace GenICam
} // namespace Orvane

#endif
