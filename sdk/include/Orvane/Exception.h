// Orvane::Exception: the one failure type of the Orvane SDK.
#ifndef ORVANE_EXCEPTION_H
#define ORVANE_EXCEPTION_H

#include <exception>
#include <string>

#include "Orvane/ErrorCodes.h"
#include "Orvane/Export.h"

namespace Orvane {

typedef int Error;

// Carries the error code, the source position that raised it (line, file,
// function), a message, the date and time the raising library was built, and
// a full message, which what() returns too: "Orvane Exception [<function>,
// <file>:<line>] <message> (error <code>)" (without the build date and time).
class ORVANE_API Exception : public std::exception {
public:
    Exception();
    // Build date and time are those of the SDK library.
    Exception(int line, const char* fileName, const char* funcName, const char* message, Error errorCode);
    Exception(int line, const char* fileName, const char* funcName, const char* buildDate, const char* buildTime,
              const char* message, Error errorCode);
    Exception(const Exception&);
    Exception& operator=(const Exception&);
    ~Exception() noexcept override;

    const char* what() const noexcept override;

    const char* GetFullErrorMessage() const;
    const char* GetErrorMessage() const;
    const char* GetFileName() const;
    const char* GetFunctionName() const;
    const char* GetBuildDate() const;
    const char* GetBuildTime() const;
    int GetLineNumber() const;
    Error GetError() const;

    bool operator==(Error errorCode) const { return m_code == errorCode; }
    bool operator!=(Error errorCode) const { return m_code != errorCode; }

private:
    void Compose();

    int m_line = 0;
    std::string m_file;
    std::string m_function;
    std::string m_buildDate;
    std::string m_buildTime;
    std::string m_message;
    std::string m_full;
    Error m_code = ORVANE_ERR_SUCCESS;
};

} // namespace Orvane

#endif
