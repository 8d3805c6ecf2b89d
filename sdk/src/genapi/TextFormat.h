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

// A float's text as GenApi displays it, independent of the C locale:
// fnFixed gives `precision` digits after the decimal point ("25.000"),
// fnScientific one digit before the point and `precision` after ("1.000e+05"),
// fnAutomatic `precision` significant digits in the shorter of the two forms
// with trailing zeros removed ("100000", "0.001", "1.23457e+06"; printf's %g).
// A negative precision counts as GenApi's default, 6. Infinities and NaN read
// "inf", "-inf" and "nan".
std::string FormatFloat(double value, EDisplayNotation notation, int64_t precision);
// The shortest text that reads back as the same double, for messages.
std::string FormatFloatExact(double value);
// Reads every form FormatFloat produces, plus a leading '+' and surrounding
// blanks; independent of the C locale. False for anything else, and for
// values outside the range of a double.
bool ParseFloat(const std::string& text, double& value);

bool ParseBoolean(const std::string& text, bool& value);

} // namespace impl
} // namespace GenApi
} // namespace Orvane

#endif
