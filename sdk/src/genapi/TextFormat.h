// Text conversion of node values (ToString/FromString), shared by all node kinds.
#ifndef ORVANE_GENAPI_TEXT_FORMAT_H
#define ORVANE_GENAPI_TEXT_FORMAT_H

#include <cstdint>
#include <string>

#include "Orvane/GenApi/Types.h"

namespace Orvane {
namespace GenApi {
namespace impl {

// Decimal, or "0x..." for HexNumber, "a.b.c.d" for IPV4Address,
// "XX:XX:XX:XX:XX:XX" for MACAddress.
std::string FormatInteger(int64_t value, ERepresentation representation);
// Accepts decimal, "0x" hexadecimal, dotted IPv4 and colon-separated MAC text
// whatever the representation; false when the text is none of these.
bool ParseInteger(const std::string& text, int64_t& value);

// The shortest text that reads back as the same double (fnAutomatic), or
// fixed/scientific notation with `precision` digits.
std::string FormatFloat(double value, EDisplayNotation notation, int64_t precision);
bool ParseFloat(const std::string& text, double& value);

bool ParseBoolean(const std::string& text, bool& value);

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
