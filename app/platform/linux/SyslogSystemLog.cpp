#include "SyslogSystemLog.h"

#include <syslog.h>

namespace lorekeep::app {

SyslogSystemLog::SyslogSystemLog() {
    ::openlog("lorekeep", LOG_PID, LOG_USER);
}

// The connection to syslog belongs to the process, not to one writer: closing it here would take the name
// "lorekeep" away from the writers that live on.
SyslogSystemLog::~SyslogSystemLog() = default;

void SyslogSystemLog::write(Type type, const QString& message) {
    ::syslog(type == Type::error ? LOG_ERR : LOG_INFO, "%s", message.toUtf8().constData());
}

} // namespace lorekeep::app
