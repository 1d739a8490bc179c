#pragma once

#include "JobStatus.h"
#include "platform/SystemLog.h"

#include "base/Date.h"

#include <QString>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace lorekeep::app {

/// The application's log: "2026-03-01T10:00:00Z INFO  message" lines appended to "Lorekeep.log" in its folder,
/// and the same message to the system log. Calls return at once and never fail: one serial writer thread does
/// all file work, and file errors are swallowed. Above 5,242,880 bytes the file is renamed to "Lorekeep.1.log"
/// before the next line, replacing the older one.
class Log {
public:
    using Clock = std::function<Date()>;

    static constexpr std::uintmax_t sizeLimit = 5242880;
    static constexpr const char* fileName = "Lorekeep.log";
    static constexpr const char* previousFileName = "Lorekeep.1.log";

    /// `systemLog` may be null (no system log copy).
    explicit Log(std::filesystem::path folder, std::shared_ptr<SystemLog> systemLog = nullptr,
                 Clock clock = &Date::now);
    /// Writes the lines still queued, then stops the writer.
    ~Log();
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;

    void info(const QString& message);
    void warn(const QString& message);
    void error(const QString& message);
    void write(const LogLine& line);

    /// Returns when every line handed over so far is in the file.
    void flush();

    [[nodiscard]] const std::filesystem::path& folder() const { return m_folder; }

    /// The line as it goes into the file, line feed included.
    [[nodiscard]] static std::string formatLine(Date time, LogLine::Level level, const QString& message);

private:
    void append(const std::string& line);
    void drain();

    std::filesystem::path m_folder;
    std::shared_ptr<SystemLog> m_systemLog;
    Clock m_clock;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::condition_variable m_idle;
    std::deque<std::string> m_queue;
    bool m_writing = false;
    bool m_stopping = false;
    std::thread m_writer;
};

/// Where the log lives: ~/Library/Logs/Lorekeep on macOS, $XDG_STATE_HOME/lorekeep (by default
/// ~/.local/state/lorekeep) on Linux.
[[nodiscard]] std::filesystem::path defaultLogFolder();

} // namespace lorekeep::app
