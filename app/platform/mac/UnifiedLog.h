#pragma once

#include <memory>
#include <string>

namespace lorekeep::app {

/// The unified system log, without Qt: subsystem the main bundle's identifier, category "backup".
class UnifiedLog {
public:
    UnifiedLog();
    ~UnifiedLog();
    UnifiedLog(const UnifiedLog&) = delete;
    UnifiedLog& operator=(const UnifiedLog&) = delete;

    void info(const std::string& message);
    void error(const std::string& message);

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace lorekeep::app
