#include <fcntl.h>
#include <moraine/util/log/ILogger.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "bench.h"
#include "directory.h"

#ifdef BENCH_HAVE_LOG4CPLUS
#include <log4cplus/fileappender.h>
#include <log4cplus/helpers/property.h>
#include <log4cplus/layout.h>
#include <log4cplus/logger.h>
#endif
#ifdef BENCH_HAVE_SPDLOG
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#endif

namespace {

constexpr int lineCount = 1000;
constexpr std::size_t messageSize = 100;
constexpr std::size_t lineSize = 19 + 1 + messageSize + 2;

const std::string message(messageSize, 'm');

const bench::Directory& directory() {
    static const bench::Directory all;
    return all;
}

// Each library is a function that opens a log file of its own anew, writes so many lines, each of which is with the
// system before the next one, and closes the file.

void logByMoraine(const std::string& file, int lines) {
    static const moraine::WideString text(message.begin(), message.end());
    moraine::util::log::ILogger logger;
    logger.setOutputPath(moraine::WideString(file.begin(), file.end()).c_str());
    for (int i = 0; i < lines; ++i) {
        logger.write(text.c_str());
    }
}

/// What the system takes for a line that is written with a lock held: no clock, no text to be made.
void logByFlock(const std::string& file, int lines) {
    static const std::string line = "2026/11/18 07:35:22 " + message + "\r\n";
    const int lock = ::open(directory().path("flock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    const int log = ::open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    for (int i = 0; i < lines; ++i) {
        ::flock(lock, LOCK_EX);
        if (::write(log, line.data(), line.size()) < 0) {
            std::abort();
        }
        ::flock(lock, LOCK_UN);
    }
    ::close(log);
    ::close(lock);
}

#ifdef BENCH_HAVE_LOG4CPLUS
void logByLog4cplus(const std::string& file, int lines) {
    log4cplus::helpers::Properties properties;
    properties.setProperty("File", file);
    properties.setProperty("ImmediateFlush", "true");
    properties.setProperty("UseLockFile", "true");
    properties.setProperty("LockFile", directory().path("log4cplus"));
    const log4cplus::SharedAppenderPtr appender(new log4cplus::FileAppender(properties, std::ios_base::trunc));
    appender->setLayout(std::make_unique<log4cplus::PatternLayout>("%d{%Y/%m/%d %H:%M:%S} %m\r%n"));
    log4cplus::Logger logger = log4cplus::Logger::getInstance("bench");
    logger.setLogLevel(log4cplus::INFO_LOG_LEVEL);
    logger.addAppender(appender);
    for (int i = 0; i < lines; ++i) {
        logger.log(log4cplus::INFO_LOG_LEVEL, message);
    }
    logger.removeAppender(appender);
    appender->close();
}
#endif

#ifdef BENCH_HAVE_SPDLOG
void logBySpdlog(const std::string& file, int lines) {
    const auto logger = spdlog::basic_logger_mt("bench", file, true);
    logger->set_formatter(
        std::make_unique<spdlog::pattern_formatter>("%Y/%m/%d %H:%M:%S %v", spdlog::pattern_time_type::utc, "\r\n"));
    logger->flush_on(spdlog::level::info);
    for (int i = 0; i < lines; ++i) {
        logger->info(message);
    }
    spdlog::drop("bench");
}
#endif

using Log = void (*)(const std::string& file, int lines);

std::string fileOf(int process) {
    return directory().path("log" + std::to_string(process));
}

/// Shares the lines among so many child processes, or writes them here if that is none.
void logFrom(int children, Log log) {
    static_cast<void>(directory());  // is made here and not by a child
    if (children == 0) {
        log(fileOf(0), lineCount);
    }
    for (int i = 0; i < children; ++i) {
        if (::fork() == 0) {
            log(fileOf(i), lineCount / children);
            ::_exit(0);
        }
    }
    for (int i = 0; i < children; ++i) {
        ::wait(nullptr);
    }
}

/// Tells how many whole lines the files hold, and how much else.
std::string outcome(int children, Log log) {
    logFrom(children, log);
    std::size_t whole = 0;
    std::size_t bytes = 0;
    for (int i = 0; i < (children == 0 ? 1 : children); ++i) {
        std::ifstream in(fileOf(i), std::ios::binary);
        for (std::string line; std::getline(in, line); bytes += line.size() + 1) {
            whole += line.size() + 1 == lineSize && line.compare(19, std::string::npos, ' ' + message + '\r') == 0;
        }
    }
    return std::to_string(whole) + " whole lines of " + std::to_string(bytes) + " bytes";
}

void addJob(const std::string& name, int children) {
    const auto column = [=](const char* library, Log log) {
        return bench::Column{library, [=] { return outcome(children, log); }, [=] { logFrom(children, log); }};
    };
    std::vector<bench::Column> columns{column("moraine", logByMoraine), column("flock-write", logByFlock)};
#ifdef BENCH_HAVE_LOG4CPLUS
    columns.push_back(column("log4cplus with its lock file", logByLog4cplus));
#endif
#ifdef BENCH_HAVE_SPDLOG
    columns.push_back(column("spdlog without a lock between processes", logBySpdlog));
#endif
    bench::job("logger/" + name, lineCount * lineSize, columns);
}

const bench::Jobs jobs{[] {
    addJob("1-process", 0);
    addJob("4-processes", 4);
}};

}  // namespace
