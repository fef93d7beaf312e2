// Lets many processes and threads log at once, then looks whether every line has arrived whole.

#include <algorithm>
#include <fstream>
#include <thread>
#include <vector>

#include <sys/wait.h>

#include "console.h"
#include "moraine/util/log/ILogger.h"

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
    unsigned long processes = 4;
    unsigned long threads = 4;
    unsigned long lines = 1000;
};

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
        ::_exit(console::run([&] {
            logAll(path, load);
            return 0;
        }));
    }
    return process;
}

/// The number of lines of a log that are not the next one of their thread, in full; missing lines are counted too.
unsigned long countFaults(const fs::path& path, const Load& load) {
    constexpr std::size_t timestampLength = 20;
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
    unsigned long faults = 0;
    for (const pid_t process : processes) {
        int status = 0;
        faults += ::waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 0 : 1;
    }
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

    for (unsigned long process = 0; process < load.processes; ++process) {
        faults += countFaults(logOf(process), load);
    }
    const unsigned long lines = load.processes * load.threads * load.lines;
    std::printf("%lu processes x %lu threads x %lu lines: %lu lines in %.2f s, %.0f lines/s\n", load.processes,
                load.threads, load.lines, lines, elapsed.count(), static_cast<double>(lines) / elapsed.count());
    std::printf(faults == 0 ? "every line is there, whole and in its thread's order\n" : "%lu faults\n", faults);
    return faults == 0 ? 0 : 1;
}

/// Reads a number from 1 to a million; 0 for anything else.
unsigned long countFrom(const char* text) {
    char* end = nullptr;
    const unsigned long count = std::strtoul(text, &end, 10);
    return end != text && *end == 0 && count <= 1'000'000 ? count : 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::string(argv[1]) == "--help") {
        std::printf("%s", usage);
        return 0;
    }
    Load load;
    unsigned long* const wanted[] = {&load.processes, &load.threads, &load.lines};
    for (int i = 1; i < argc; ++i) {
        if (i > 3 || (*wanted[i - 1] = countFrom(argv[i])) == 0) {
            std::fprintf(stderr, "%s", usage);
            return 2;
        }
    }
    return console::run([&] { return program(load); });
}
