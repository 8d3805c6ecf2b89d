#include "VirtualCameraFacts.h"

#include <gtest/gtest.h>

#include <cstring>

namespace vcamtest {

std::vector<uint8_t> InitialBytes(const std::string& feature, const std::string& slot) {
    for (const vcam::InitialValue& v : vcam::kInitialValues) {
        if (feature != v.feature || slot != v.slot) continue;
        for (const vcam::InitialBlock& b : vcam::kInitialBlocks) {
            if (v.address < b.address || v.address + v.length > b.address + b.length) continue;
            const uint8_t* p = vcam::kInitialBytes + b.offset + (v.address - b.address);
            return std::vector<uint8_t>(p, p + v.length);
        }
    }
    ADD_FAILURE() << "the register map has no initial value for " << feature << " [" << slot << "]";
    return {};
}

uint64_t InitialUInt(const std::string& feature, const std::string& slot) {
    uint64_t v = 0;
    for (uint8_t b : InitialBytes(feature, slot)) v = (v << 8) | b;
    return v;
}

double InitialDouble(const std::string& feature, const std::string& slot) {
    const uint64_t v = InitialUInt(feature, slot);
    double d;
    std::memcpy(&d, &v, sizeof d);
    return d;
}

std::string InitialString(const std::string& feature, const std::string& slot) {
    const std::vector<uint8_t> bytes = InitialBytes(feature, slot);
    std::string s(bytes.begin(), bytes.end());
    return s.substr(0, s.find('\0'));
}

int64_t EntryValue(const std::string& feature, const std::string& entry) {
    for (const vcam::EntryInfo& e : vcam::kEntries)
        if (feature == e.feature && entry == e.entry) return e.value;
    return -1;
}

} // namespace vcamtest
