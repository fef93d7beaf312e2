// Prints the lines that match a pattern.

#include "moraine/text/Wildcard.h"

#include "streams.h"

namespace {

using moraine::text::Wildcard;

constexpr const char* usage = "usage: wildcard [--count] PATTERN [FILE...]\n"
                              "\n"
                              "Prints the lines of the files, or of standard input (\"-\"), that match PATTERN from\n"
                              "their first to their last character. In a pattern \"?\" is any character, \"#\" a\n"
                              "digit, \"*\" any run of characters, and all else itself. A star must not stand in\n"
                              "front of another one of these.\n"
                              "\n"
                              "  --count  print only how many lines match\n"
                              "  --help   print this text\n"
                              "\n"
                              "  ls | wildcard '*.tar.*'\n"
                              "  wildcard '####-##-## *failed*' today.log yesterday.log\n";

/// What is looked for, and what was found.
struct Search {
    moraine::WideString pattern;
    bool countOnly = false;
    unsigned long found = 0;
};

void searchIn(moraine::io::InputStream& in, Search& search) {
    console::Lines lines(in);
    console::StandardOutput out;
    Wildcard wildcard;
    for (std::string line; lines.next(line);) {
        // The matcher takes 16-bit text, and refuses an empty one: no empty line matches.
        if (line.empty() || !wildcard.isMatchW(console::wide(line).c_str(), search.pattern.c_str())) {
            continue;
        }
        ++search.found;
        if (!search.countOnly) {
            line += '\n';
            out.write(line.data(), static_cast<unsigned int>(line.size()));
        }
    }
}

int program(const console::CommandLine& line) {
    line.expectWords(1, std::numeric_limits<std::size_t>::max());
    if (line.words[0].empty()) {
        throw console::Misuse("the pattern is empty");
    }
    Search search{console::wide(line.words[0]), line.has("--count")};
    std::vector<std::string> paths(line.words.begin() + 1, line.words.end());
    if (paths.empty()) {
        paths.emplace_back("-");
    }
    for (const std::string& path : paths) {
        const std::unique_ptr<moraine::io::InputStream> in = console::openInput(path);
        console::ProgressStream progress(*in, path, search.countOnly || !console::printsToTerminal());
        searchIn(progress, search);
    }
    if (search.countOnly) {
        std::printf("%lu\n", search.found);
    }
    return console::done;
}

}  // namespace

int main(int argc, char** argv) {
    return console::run(argc, argv, usage, {"--count"}, program);
}
