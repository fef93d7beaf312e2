#include <log4cplus/fileappender.h>
#include <log4cplus/helpers/property.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>

#include "../bench.h"

namespace {

void log(const std::string& path, int lines) {
    log4cplus::helpers::Properties properties;
    properties.setProperty("File", path);
    properties.setProperty("ImmediateFlush", "true");
    properties.setProperty("UseLockFile", "true");
    properties.setProperty("LockFile", bench::temporaryFile("log4cplus"));
    const log4cplus::SharedAppenderPtr appender(new log4cplus::FileAppender(properties, std::ios_base::trunc));
    appender->setLayout(std::make_unique<log4cplus::PatternLayout>("%d{%Y/%m/%d %H:%M:%S} %m\r%n"));
    log4cplus::Logger logger = log4cplus::Logger::getInstance("bench");
    logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
    logger.addAppender(appender);
    for (int i = 0; i < lines; ++i) {
        logger.log(log4cplus::INFO_LOG_LEVEL, bench::message);
    }
    logger.removeAppender(appender);
    appender->close();
}

const bench::Logging logging("log4cplus with its lock file", log);

}  // namespace
