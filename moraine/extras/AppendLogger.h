#pragma once

#include <atomic>
#include <string_view>

#include "moraine/extras/Export.h"
#include "moraine/text/WideChar.h"
#include "moraine/util/log/ILogger.h"

namespace moraine::extras {

/// A logger that appends: any number of threads, processes and runs share one file, and no line is lost.
///
///     moraine::extras::AppendLogger log(u"app.log");
///     log.setRotation({10'000'000, false, 5});
///     log.info("Grüße from port 80 🙂");  // UTF-8
///     log.write(moraine::extras::AppendLogger::Level::error, "no room");
///
/// A line is the time (UTC, "2026/11/18 07:35:22"), a blank, the level and a blank, the message and "\r\n", in real
/// UTF-8. A message that has line ends makes several lines. Each line is written whole while the lock is held that all
/// loggers of the machine share (`util::log::ILogger` tells more, and where it cannot be had); the file is opened and
/// closed for it, so that it may be moved or removed at any time, and a file that is there is never cut.
///
/// `write` may be called by any thread, and so may `setThreshold` and the test of a level. All else is for one thread
/// at a time, before the first line. Not copyable.
class MORAINE_EXTRAS_API AppendLogger : public util::log::ILogger {
public:
    /// How much a message matters.
    enum class Level { debug, info, warning, error };

    /// When a new file is begun. The old one is then renamed: "app.log" to "app.log.1", that to "app.log.2" and so on,
    /// the highest number being the oldest; the one numbered `keep` is removed. All loggers of one file should have the
    /// same rule.
    struct Rotation {
        unsigned long long size;  ///< before a line that would make the file longer than so many bytes; 0 for never
        bool daily;               ///< before the first line of a day (UTC)
        unsigned int keep;        ///< so many old files at the most; with 0 the old one is removed
    };

    /// A logger that appends to a file, which the first line makes if it is not there.
    /// @param path where, on whose form `io::FileOutputStream` says more; a copy is kept
    /// @param threshold messages of lower levels are not written
    explicit AppendLogger(const WideChar* path, Level threshold = Level::info);
    ~AppendLogger() override;

    /// Sets the level from which on messages are written.
    void setThreshold(Level level);

    /// Whether messages of that level are written: worth a question before a message that is dear to make.
    bool isEnabled(Level level) const;

    /// Sets when a new file is begun. Never, at first.
    void setRotation(const Rotation& rule);

    /// Writes a message of that level, in UTF-8, what is malformed as U+FFFD. Does nothing below the threshold.
    /// @throws lang::IllegalStateException "Output path is NULL." if the path is null
    /// @throws io::IOException "The log could not be written. : " and the path, if the file cannot be opened, renamed
    /// or
    ///         written; a line may then be there in part
    void write(Level level, std::string_view message);

    /// Writes a message of the level `info`, whatever the threshold is. A null message counts as empty.
    /// @throws lang::IllegalStateException, io::IOException as above
    void write(const WideChar* message) override;

    /// `write` with `Level::debug`.
    void debug(std::string_view message);
    /// `write` with `Level::info`.
    void info(std::string_view message);
    /// `write` with `Level::warning`.
    void warning(std::string_view message);
    /// `write` with `Level::error`.
    void error(std::string_view message);

    /// Sets the file for the lines to come.
    void setOutputPath(const WideChar* path) override;
    /// The path as it was given. Belongs to the logger and is good until the next `setOutputPath`.
    const WideChar* getOutputPath() override;

protected:
    const WideChar* getClassName() const override;

    /// Appends a line to the file: the time, a blank, and @p message, which has its level already.
    void doWriteLog(const WideChar* message) override;

private:
    std::unique_ptr<WideChar[]> file;  // a path, null for none
    std::atomic<Level> least;
    Rotation rotation{0, false, 0};
};

}  // namespace moraine::extras
