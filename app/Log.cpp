#include "Log.h"

#include <QStandardPaths>

#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace lorekeep::app {
namespace fs = std::filesystem;

Log::Log(fs::path folder, std::shared_ptr<SystemLog> systemLog, Clock clock)
    : m_folder(std::move(folder)), m_systemLog(std::move(systemLog)), m_clock(std::move(clock)),
      m_writer([this] { drain(); }) {}

Log::~Log() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_wake.notify_one();
    m_writer.join();
}

std::string Log::formatLine(Date time, LogLine::Level level, const QString& message) {
    const char* word = level == LogLine::Level::info ? "INFO " : level == LogLine::Level::warn ? "WARN " : "ERROR";
    return time.iso8601() + " " + word + " " + message.toStdString() + "\n";
}

void Log::info(const QString& message) {
    write({LogLine::Level::info, message});
}

void Log::warn(const QString& message) {
    write({LogLine::Level::warn, message});
}

void Log::error(const QString& message) {
    write({LogLine::Level::error, message});
}

void Log::write(const LogLine& line) {
    if (m_systemLog) {
        try {
            m_systemLog->write(line.level == LogLine::Level::info ? SystemLog::Type::info : SystemLog::Type::error,
                               line.message);
        } catch (...) {
            // The system log is a copy; losing a line there must not stop the caller.
        }
    }
    std::string text = formatLine(m_clock(), line.level, line.message);
    {
        std::lock_guard lock(m_mutex);
        m_queue.push_back(std::move(text));
    }
    m_wake.notify_one();
}

void Log::flush() {
    std::unique_lock lock(m_mutex);
    m_idle.wait(lock, [this] { return m_queue.empty() && !m_writing; });
}

void Log::drain() {
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_wake.wait(lock, [this] { return m_stopping || !m_queue.empty(); });
        if (m_queue.empty() && m_stopping)
            return;
        std::string line = std::move(m_queue.front());
        m_queue.pop_front();
        m_writing = true;
        lock.unlock();
        append(line);
        lock.lock();
        m_writing = false;
        if (m_queue.empty())
            m_idle.notify_all();
    }
}

void Log::append(const std::string& line) {
    std::error_code error;
    fs::create_directories(m_folder, error);
    const fs::path current = m_folder / fileName;
    const std::uintmax_t size = fs::file_size(current, error);
    if (!error && size > sizeLimit) {
        fs::remove(m_folder / previousFileName, error);
        fs::rename(current, m_folder / previousFileName, error);
    }
    if (std::FILE* file = std::fopen(current.c_str(), "ab")) {
        std::fwrite(line.data(), 1, line.size(), file);
        std::fclose(file);
    }
}

fs::path defaultLogFolder() {
    const fs::path home = QStandardPaths::writableLocation(QStandardPaths::HomeLocation).toStdString();
#ifdef __APPLE__
    return home / "Library" / "Logs" / "Lorekeep";
#else
    const char* state = std::getenv("XDG_STATE_HOME");
    if (state && *state == '/')
        return fs::path(state) / "lorekeep";
    return home / ".local" / "state" / "lorekeep";
#endif
}

} // namespace lorekeep::app
