#include "SyslogSystemLog.h"

#include <syslog.h>

namespace lorekeep::app {

SyslogSystemLog::SyslogSystemLog() {
    ::openlog("lorekeep", LOG_PID, LOG_USER);
}

SyslogSystemLog::~SyslogSystemLog() {
    ::closelog();
}

void SyslogSystemLog::write(Type type, const QString& message) {
    ::syslog(type == Type::error ? LOG_ERR : LOG_INFO, "%s", message.toUtf8().constData());
}

} // namespace lorekeep::app
