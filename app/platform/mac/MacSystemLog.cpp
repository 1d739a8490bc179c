#include "../PlatformServices.h"
#include "UnifiedLog.h"

#include <QString>

namespace lorekeep::app {

namespace {

class MacSystemLog final : public SystemLog {
public:
    void write(Type type, const QString& message) override {
        if (type == Type::error)
            m_log.error(message.toStdString());
        else
            m_log.info(message.toStdString());
    }

private:
    UnifiedLog m_log;
};

} // namespace

std::unique_ptr<SystemLog> makeSystemLog() {
    return std::make_unique<MacSystemLog>();
}

} // namespace lorekeep::app
