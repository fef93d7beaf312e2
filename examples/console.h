#pragma once

/// @file
/// What the example programs share: the command line, text to and from the console, a progress display, and one way to
/// end.

#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <initializer_list>
#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "moraine/lang/Exception.h"
#include "moraine/text/UTF8Decoder.h"
#include "moraine/text/UTF8Encoder.h"

namespace console {

/// The library's text as UTF-8.
inline std::string narrow(const moraine::WideString& text) {
    return *moraine::text::UTF8Encoder().doEncodeW2M(text.data(), static_cast<unsigned int>(text.size()), true);
}

/// UTF-8, as it comes from the command line or a file, as the library's text.
inline moraine::WideString wide(const std::string& text) {
    return *moraine::text::UTF8Decoder().doDecodeM2W(text.data(), static_cast<unsigned int>(text.size()), true);
}

/// What a program ends with.
enum Status { done, failed, misused };

/// Thrown where the command line is not as the usage says.
class Misuse : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The command line: options, which come first and begin with "--", and words. "--" alone ends the options.
struct CommandLine {
    std::set<std::string> options;
    std::vector<std::string> words;

    bool has(const char* option) const { return options.count(option) != 0; }

    /// The word at this place, or what stands for one that is not there.
    std::string word(std::size_t index, const char* otherwise) const {
        return index < words.size() ? words[index] : otherwise;
    }

    void expectWords(std::size_t least, std::size_t most) const {
        if (words.size() < least || words.size() > most) {
            throw Misuse(words.size() < least ? "something is missing" : "there is too much");
        }
    }
};

inline CommandLine parsed(int argc, char** argv, const std::set<std::string>& known) {
    CommandLine line;
    int i = 1;
    for (; i < argc && std::string(argv[i]).substr(0, 2) == "--"; ++i) {
        const std::string option = argv[i];
        if (option == "--") {
            ++i;
            break;
        }
        if (known.count(option) == 0) {
            throw Misuse("there is no option " + option);
        }
        line.options.insert(option);
    }
    for (; i < argc; ++i) {
        line.words.emplace_back(argv[i]);
    }
    return line;
}

/// A decimal number.
template <class Number>
Number numberFrom(const std::string& text, Number least, Number most = std::numeric_limits<Number>::max()) {
    Number number{};
    const char* const end = text.data() + text.size();
    const auto [stopped, problem] = std::from_chars(text.data(), end, number);
    if (problem != std::errc() || stopped != end || number < least || number > most) {
        throw Misuse("'" + text + "' is not a number from " + std::to_string(least) + " to " + std::to_string(most));
    }
    return number;
}

/// Runs the work. Whatever fails is reported on standard error, a failure of the library with its whole trace, and
/// gives the status `failed`; so does output that standard output could not take.
template <class Work>
int guarded(Work work) {
    int status = failed;
    try {
        status = work();
    } catch (moraine::lang::Exception& e) {
        std::fprintf(stderr, "%s", narrow(*e.getTrace()).c_str());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "error: %s\n", e.what());
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fprintf(stderr, "error: standard output could not be written\n");
        return failed;
    }
    return status;
}

/// Runs a whole program: answers `--help` with the usage, takes the options that the program knows, and hands it the
/// command line. A misuse is told together with the first lines of the usage.
template <class Program>
int run(int argc, char** argv, const char* usage, std::initializer_list<const char*> options, Program program) {
    return guarded([&]() -> int {
        try {
            std::set<std::string> known(options.begin(), options.end());
            known.insert("--help");
            const CommandLine line = parsed(argc, argv, known);
            if (line.has("--help")) {
                std::printf("%s", usage);
                return done;
            }
            return program(line);
        } catch (const Misuse& e) {
            const std::string text = usage;
            std::fprintf(stderr, "error: %s\n%s\n--help tells more\n", e.what(),
                         text.substr(0, text.find("\n\n")).c_str());
            return misused;
        }
    });
}

/// Whether what the program prints comes to a terminal.
inline bool printsToTerminal() {
    return ::isatty(STDOUT_FILENO) == 1;
}

/// A line on standard error that tells how far a work has come, if a terminal watches and the work takes a while.
class Progress {
public:
    /// @param what the work, in a word
    /// @param all when it is done, in whatever unit; 0 if nobody knows, and then the unit is the byte
    /// @param wanted false leaves the line away: it would be torn by what the program prints to the same terminal
    Progress(std::string what, std::uintmax_t all, bool wanted)
        : label(std::move(what)), total(all), shown(wanted && ::isatty(STDERR_FILENO) == 1) {}

    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    ~Progress() {
        if (drawn) {
            std::fprintf(stderr, "\r%*s\r", static_cast<int>(label.size()) + 16, "");
        }
    }

    bool isShown() const { return shown; }

    void show(std::uintmax_t done) {
        const auto now = std::chrono::steady_clock::now();
        if (!shown || now < next) {
            return;
        }
        const auto amount = static_cast<double>(done);
        if (total > 0) {
            std::fprintf(stderr, "\r%s: %3.0f %%", label.c_str(),
                         std::min(100.0, 100.0 * amount / static_cast<double>(total)));
        } else {
            std::fprintf(stderr, "\r%s: %.1f MB", label.c_str(), amount / 1e6);
        }
        next = now + std::chrono::milliseconds(100);
        drawn = true;
    }

private:
    std::string label;
    std::uintmax_t total;
    bool shown;
    bool drawn = false;
    std::chrono::steady_clock::time_point next = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
};

}  // namespace console
