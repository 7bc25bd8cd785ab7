// A logger that records the library's calls. Include it in one source of a program: it defines the function by which
// the library finds the host's logger.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "ClassicLocale.h"
#include "ConfigurationControl/LoggerAdapter/ILogger.h"

class RECORDING_LOGGER : public LoggerAdapter::ILogger {
 public:
    struct MESSAGE {
        int level;
        std::string file;
        int line;
        std::string text;
    };

    // The logger that getInstance returns; null: a host without a logger.
    static RECORDING_LOGGER*& Current() {
        static RECORDING_LOGGER* current = nullptr;
        return current;
    }

    RECORDING_LOGGER() { Current() = this; }
    ~RECORDING_LOGGER() { Current() = nullptr; }
    RECORDING_LOGGER(RECORDING_LOGGER const&) = delete;
    RECORDING_LOGGER& operator=(RECORDING_LOGGER const&) = delete;

    bool IsLogLevelEnabled(int level) override {
        std::lock_guard const guard(m_lock);
        m_calls.push_back("enabled? " + std::to_string(level));
        return level != disabledLevel;
    }

    void LogMessage(int level, char const* fileName, int line, char const* format, ...) override {
        char text[500];
        va_list values;
        va_start(values, format);
        {
            CLASSIC_LOCALE const classic;
            vsnprintf(text, sizeof text, format, values);
        }
        va_end(values);
        {
            std::lock_guard const guard(m_lock);
            m_calls.push_back(std::to_string(level) + " " + text);
            m_messages.push_back({level, fileName, line, text});
        }
        if (duringMessage) duringMessage();
    }

    // Every call in order, as "enabled? LEVEL" and "LEVEL TEXT"; forgets them.
    std::vector<std::string> TakeCalls() {
        std::lock_guard const guard(m_lock);
        m_messages.clear();
        return std::exchange(m_calls, {});
    }
    // The messages alone; forgets the calls.
    std::vector<MESSAGE> TakeMessages() {
        std::lock_guard const guard(m_lock);
        m_calls.clear();
        return std::exchange(m_messages, {});
    }
    // The messages as "LEVEL TEXT"; forgets the calls.
    std::vector<std::string> TakeTexts() {
        std::vector<std::string> texts;
        for (auto const& message : TakeMessages()) texts.push_back(std::to_string(message.level) + " " + message.text);
        return texts;
    }

    int disabledLevel = 0;
    std::function<void()> duringMessage;

 private:
    std::mutex m_lock;
    std::vector<std::string> m_calls;
    std::vector<MESSAGE> m_messages;
};

LoggerAdapter::ILogger* LoggerAdapter::ILogger::getInstance() {
    return RECORDING_LOGGER::Current();
}
