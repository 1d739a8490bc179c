#pragma once

#include <QString>

namespace lorekeep::app {

/// The system's log, beside the log file: os_log on macOS (subsystem the bundle identifier, category
/// "backup"), syslog on Linux (which reaches the journal). Never fails and never blocks for long.
class SystemLog {
public:
    enum class Type { info, error };

    virtual ~SystemLog() = default;
    virtual void write(Type type, const QString& message) = 0;
};

} // namespace lorekeep::app
