// Shared pieces of the C library tests: a log handler that records the texts
// the SDK logger receives, and helpers to read the last-error record.
#ifndef ORVANE_TESTS_CAPI_FIXTURE_H
#define ORVANE_TESTS_CAPI_FIXTURE_H

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <vector>

#include "Orvane/Logging.h"
#include "Orvane/System.h"
#include "OrvaneC.h"

class LogCapture : public Orvane::LoggingEventHandler {
public:
    void OnLogEvent(Orvane::LoggingEventDataPtr data) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_messages.push_back(data->GetLogMessage());
        m_priorities.push_back(data->GetPriorityName());
    }
    std::vector<std::string> Messages() {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_messages;
    }
    bool Contains(const std::string& text) {
        for (const auto& m : Messages())
            if (m == text) return true;
        return false;
    }
    void Clear() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_messages.clear();
        m_priorities.clear();
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_messages;
    std::vector<std::string> m_priorities;
};

// Reads a text of the last-error record through its getter.
inline std::string LastText(orvError (*getter)(char*, size_t*)) {
    size_t length = 0;
    if (getter(nullptr, &length) != ORVANE_ERR_SUCCESS) return "<query failed>";
    std::string text(length, '\0');
    if (getter(&text[0], &length) != ORVANE_ERR_SUCCESS) return "<read failed>";
    text.resize(length - 1);
    return text;
}

inline orvError LastCode() {
    orvError code = 12345;
    orvErrorGetLast(&code);
    return code;
}

inline int64_t LastLine() {
    int64_t line = -1;
    orvErrorGetLastLineNumber(&line);
    return line;
}

// Registers a log capture with the SDK for the test's duration and gives the
// test a system handle.
class CapiTest : public ::testing::Test {
protected:
    void SetUp() override {
        Orvane::System::GetInstance()->RegisterLoggingEventHandler(log);
        ASSERT_EQ(orvSystemGetInstance(&system), ORVANE_ERR_SUCCESS);
    }
    void TearDown() override {
        if (system) {
            EXPECT_EQ(orvSystemReleaseInstance(system), ORVANE_ERR_SUCCESS);
        }
        Orvane::System::GetInstance()->UnregisterLoggingEventHandler(log);
    }

    static std::string Trace(const std::string& file, int line, const std::string& function, const std::string& message,
                             int code) {
        return "Orv Trace: " + file + ", line " + std::to_string(line) + ", " + function + ": Message = " + message +
               " Code = " + std::to_string(code);
    }
    static std::string WrongHandle(const std::string& expected, const std::string& received) {
        return "Orvane Exception: Incorrect handle exception thrown. Expected: " + expected +
               "; Received: " + received + ".";
    }

    LogCapture log;
    orvSystem system = nullptr;
};

#endif
