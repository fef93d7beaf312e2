#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// A job is some work on an input, such as "utf8/decode/latin": a kind, "utf8/decode", and what it is done on. The files
// beside this one define the jobs and this library's way to do each kind. Each file of `peers` adds the ways of one
// other library, and is only compiled where that library is installed.

namespace bench {

/// Takes what a way makes: keeps it while ways are compared, and has a glance at it while time runs.
class Sink {
public:
    explicit Sink(bool keeping) : keeps(keeping) {}
    ~Sink() { asm volatile("" : : "m"(seen) : "memory"); }

    void operator()(const void* data, std::size_t size) {
        if (keeps) {
            kept.append(static_cast<const char*>(data), size);
        } else if (size != 0) {
            seen += size + static_cast<const unsigned char*>(data)[size - 1];
        }
    }
    template <class Text>
    void operator()(const Text& text) {
        (*this)(text.data(), static_cast<std::size_t>(text.size()) * sizeof *text.data());
    }

    const bool keeps;
    std::string kept;

private:
    std::size_t seen = 0;
};

/// One way to do a job, made for its input.
struct Column {
    /// Does the work once.
    std::function<void(Sink&)> run;
    /// What has to be done before each run, untimed; may be empty.
    std::function<void()> before = {};
};

struct Job {
    std::string name;
    std::size_t bytes;
    /// Makes the columns, by the names of their libraries, when the job's turn comes.
    std::function<std::map<std::string, Column>()> columns;
};

void add(Job job);

/// Defines the jobs of one file when the program starts: `const bench::Jobs jobs([] { bench::job(...); });`.
struct Jobs {
    explicit Jobs(void (*define)()) { define(); }
};

/// The ways to do a kind of jobs, by the name of the library. Each makes a column for an input, which outlives it.
template <class Input>
std::map<std::string, std::function<Column(const Input&)>>& ways(const std::string& kind) {
    static std::map<std::string, std::map<std::string, std::function<Column(const Input&)>>> all;
    return all[kind];
}

/// Adds a way when the program starts. The name of this library is "moraine".
template <class Input>
struct Way {
    Way(const char* kind, const char* library, std::function<Column(const Input&)> make) {
        ways<Input>(kind)[library] = std::move(make);
    }
};

/// Defines the job "KIND/SHAPE", or "KIND" if the shape is empty, for all who have a way to do it.
template <class Input>
void job(const std::string& kind, const std::string& shape, std::size_t bytes, const Input& input) {
    add({shape.empty() ? kind : kind + '/' + shape, bytes, [=] {
             static const Input given = input;  // each job has its own process
             std::map<std::string, Column> columns;
             for (const auto& [library, way] : ways<Input>(kind)) {
                 columns[library] = way(given);
             }
             return columns;
         }});
}

/// What text jobs work on: the same as bytes and as 16-bit text, and, for `wildcard-*` jobs, what it is matched with.
struct Text {
    std::string narrow;
    std::u16string wide;
    std::string pattern = {};
};
using Texts = std::vector<Text>;

void textJob(const std::string& kind, const std::string& shape, const Texts& texts);

inline constexpr auto narrow = [](const Text& text) { return text.narrow; };
inline constexpr auto wide = [](const Text& text) { return text.wide; };

/// The texts that `replace-*` jobs look for, and put in their place.
inline const Text searched{"@name", u"@name"};
inline const Text replacement{"=a longer term=", u"=a longer term="};

/// A way to do text jobs: of each text `prepare` makes the library's own form once, and what `operation(form, sink)`
/// does is timed.
struct TextWay : Way<Texts> {
    template <class Prepare, class Operation>
    TextWay(const char* kind, const char* library, Prepare prepare, Operation operation)
        : Way(kind, library, [=](const Texts& texts) {
              std::vector<std::decay_t<decltype(prepare(texts.front()))>> forms;
              std::transform(texts.begin(), texts.end(), std::back_inserter(forms), prepare);
              return Column{[forms, operation](Sink& sink) {
                  for (const auto& form : forms) {
                      operation(form, sink);
                  }
              }};
          }) {}
};

inline const std::string message(100, 'm');

/// A function that writes the message to a new file so often, each line to the system before the next one. The input is
/// the number of child processes that share the lines.
struct Logging : Way<int> {
    Logging(const char* library, void (*log)(const std::string& path, int lines));
};

/// The path of a file in a temporary folder, which goes when the program ends.
std::string temporaryFile(const std::string& name);

}  // namespace bench
