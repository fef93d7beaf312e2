// Lets many processes and threads log at once, then looks whether every line has arrived whole.

#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <thread>
#include <vector>

#include "moraine/util/log/ILogger.h"

#include "console.h"

namespace {

namespace fs = std::filesystem;

using moraine::util::log::ILogger;

constexpr const char* usage = "usage: log_many [PROCESSES [THREADS [LINES]]]\n"
                              "\n"
                              "Starts PROCESSES processes (4) with THREADS threads (4) each. Every thread writes\n"
                              "LINES lines (1000) to the log of its process. Then all logs are read back: each\n"
                              "line must be there once and whole. Prints lines per second; status 1 if any line\n"
                              "is lost or torn.\n"
                              "\n"
                              "  --help  print this text\n";

struct Load {
    unsigned long processes;
    unsigned long threads;
    unsigned long lines;
};

/// The time stands before a message, and CR LF after it.
constexpr std::size_t timestampLength = 20;

std::string messageOf(unsigned long thread, unsigned long line) {
    return "thread " + std::to_string(thread) + " line " + std::to_string(line) + " - some words to make it longer";
}

/// What one process does: one logger, many threads that write through it.
void logAll(const fs::path& path, const Load& load) {
    ILogger logger;
    logger.setOutputPath(console::wide(path.string()).c_str());
    std::vector<std::thread> threads;
    for (unsigned long thread = 0; thread < load.threads; ++thread) {
        threads.emplace_back([&logger, &load, thread] {
            for (unsigned long line = 0; line < load.lines; ++line) {
                logger.write(console::wide(messageOf(thread, line)).c_str());
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// Runs `logAll` in a process of its own.
pid_t startProcess(const fs::path& path, const Load& load) {
    const pid_t process = ::fork();
    if (process < 0) {
        throw std::runtime_error("no process could be started");
    }
    if (process == 0) {
        ::_exit(console::guarded([&] {
            logAll(path, load);
            return console::done;
        }));
    }
    return process;
}

/// Waits until a process has ended. If somebody watches, shows in the meantime how much of the logs is there. True if
/// the process went well.
bool waitFor(pid_t process, const fs::path& folder, console::Progress& progress) {
    int status = 0;
    pid_t ended = 0;
    while ((ended = ::waitpid(process, &status, progress.isShown() ? WNOHANG : 0)) == 0) {
        std::uintmax_t written = 0;
        for (const fs::directory_entry& log : fs::directory_iterator(folder)) {
            written += log.file_size();
        }
        progress.show(written);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return ended == process && WIFEXITED(status) && WEXITSTATUS(status) == console::done;
}

/// The number of lines of a log that are not the next one of their thread, in full; missing lines are counted too.
unsigned long countFaults(const fs::path& path, const Load& load) {
    const std::string prefix = "thread ";
    std::vector<unsigned long> next(load.threads);
    unsigned long faults = 0;
    std::ifstream log(path, std::ios::binary);
    for (std::string line; std::getline(log, line);) {
        const bool known = line.compare(std::min(line.size(), timestampLength), prefix.size(), prefix) == 0;
        const unsigned long thread =
            known ? std::strtoul(line.c_str() + timestampLength + prefix.size(), nullptr, 10) : load.threads;
        if (thread < load.threads && line.substr(timestampLength) == messageOf(thread, next[thread]) + '\r') {
            ++next[thread];
        } else {
            ++faults;
        }
    }
    for (const unsigned long found : next) {
        faults += load.lines - found;
    }
    return faults;
}

/// A folder that goes with its object.
struct Folder {
    fs::path path = fs::temp_directory_path() / ("log_many-" + std::to_string(::getpid()));

    Folder() { fs::create_directory(path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(path, ignored);
    }
};

int program(const Load& load) {
    const Folder folder;
    const auto logOf = [&](unsigned long process) { return folder.path / (std::to_string(process) + ".log"); };

    const auto start = std::chrono::steady_clock::now();
    std::vector<pid_t> processes;
    for (unsigned long process = 0; process < load.processes; ++process) {
        processes.push_back(startProcess(logOf(process), load));
    }
    const unsigned long lines = load.processes * load.threads * load.lines;
    unsigned long faults = 0;
    {
        const std::size_t lineLength = timestampLength + messageOf(load.threads - 1, load.lines - 1).size() + 2;
        console::Progress progress("logging", lines * lineLength, true);
        for (const pid_t process : processes) {
            faults += waitFor(process, folder.path, progress) ? 0 : 1;
        }
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

    for (unsigned long process = 0; process < load.processes; ++process) {
        faults += countFaults(logOf(process), load);
    }
    std::printf("%lu processes x %lu threads x %lu lines: %lu lines in %.2f s, %.0f lines/s\n", load.processes,
                load.threads, load.lines, lines, elapsed.count(), static_cast<double>(lines) / elapsed.count());
    std::printf(faults == 0 ? "every line is there, whole and in its thread's order\n" : "%lu faults\n", faults);
    return faults == 0 ? console::done : console::failed;
}

}  // namespace

int main(int argc, char** argv) {
    return console::run(argc, argv, usage, {}, [](const console::CommandLine& line) {
        line.expectWords(0, 3);
        const auto count = [&](std::size_t index, const char* otherwise) {
            return console::numberFrom<unsigned long>(line.word(index, otherwise), 1, 1'000'000);
        };
        return program({count(0, "4"), count(1, "4"), count(2, "1000")});
    });
}
