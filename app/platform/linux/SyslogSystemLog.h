#pragma once

#include "../SystemLog.h"

namespace lorekeep::app {

/// The system log through syslog(3) as "lorekeep", facility user; the journal collects it where there is one.
class SyslogSystemLog final : public SystemLog {
public:
    SyslogSystemLog();
    ~SyslogSystemLog() override;

    void write(Type type, const QString& message) override;
};

} // namespace lorekeep::app
