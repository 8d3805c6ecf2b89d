#include "Orvane/Exception.h"

#include "Orvane/BasePtr.h"
#include "core/Raise.h"

namespace Orvane {

namespace {
// The date and time this library was compiled, carried by every exception.
const char* const kBuildDate = __DATE__;
const char* const kBuildTime = __TIME__;
} // namespace

Exception::Exception() { Compose(); }

Exception::Exception(int line, const char* fileName, const char* funcName, const char* message, Error errorCode)
    : Exception(line, fileName, funcName, kBuildDate, kBuildTime, message, errorCode) {}

Exception::Exception(int line, const char* fileName, const char* funcName, const char* buildDate, const char* buildTime,
                     const char* message, Error errorCode)
    : m_line(line), m_file(fileName ? fileName : ""), m_function(funcName ? funcName : ""),
      m_buildDate(buildDate ? buildDate : ""), m_buildTime(buildTime ? buildTime : ""),
      m_message(message ? message : ""), m_code(errorCode) {
    Compose();
}

Exception::Exception(const Exception&) = default;
Exception& Exception::operator=(const Exception&) = default;
Exception::~Exception() noexcept = default;

// The full message: "Orvane Exception [<function>, <file>:<line>] <message> (error <code>)".
void Exception::Compose() {
    m_full = "Orvane Exception [" + m_function + ", " + m_file + ":" + std::to_string(m_line) + "] " + m_message +
             " (error " + std::to_string(m_code) + ")";
}

const char* Exception::what() const noexcept { return m_full.c_str(); }
const char* Exception::GetFullErrorMessage() const { return m_full.c_str(); }
const char* Exception::GetErrorMessage() const { return m_message.c_str(); }
const char* Exception::GetFileName() const { return m_file.c_str(); }
const char* Exception::GetFunctionName() const { return m_function.c_str(); }
const char* Exception::GetBuildDate() const { return m_buildDate.c_str(); }
const char* Exception::GetBuildTime() const { return m_buildTime.c_str(); }
int Exception::GetLineNumber() const { return m_line; }
Error Exception::GetError() const { return m_code; }

namespace detail {
void ThrowNullPointer(const char* file, int line, const char* function) {
    Raise(SourcePosition{file, line, function}, ORVANE_ERR_NOT_AVAILABLE,
          "Null pointer dereferenced: the object is not available");
}
void ThrowNullPointer(const char*) {
    Raise(ORV_HERE, ORVANE_ERR_NOT_AVAILABLE, "Null pointer dereferenced: the object is not available");
}
} // namespace detail

} // namespace Orvane
