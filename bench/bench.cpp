// Times all columns of each job in turn and prints what was measured, one JSON object a line.

#include "bench.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <random>
#include <regex>
#include <thread>

namespace bench {
namespace {

std::vector<Job>& jobs() {
    static std::vector<Job> all;
    return all;
}

/// One column's seconds for each run.
struct Samples {
    std::string library;
    Column column;
    std::size_t runs = 1;
    std::vector<double> seconds = {};
};

/// The seconds that a sample takes.
double timed(const Samples& of, clockid_t clock) {
    const auto now = [clock] {
        timespec time{};
        clock_gettime(clock, &time);
        return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
    };
    Sink sink(false);
    double total = 0;
    // Where something has to be done before each run, each run is timed by itself.
    for (std::size_t left = of.runs, step = of.column.before ? 1 : left; left > 0; left -= step) {
        if (of.column.before) {
            of.column.before();
        }
        const double start = now();
        for (std::size_t i = 0; i < step; ++i) {
            of.column.run(sink);
        }
        total += now() - start;
    }
    return total;
}

/// Whether more rounds would hardly move the medians of the ratios of the first column to the others.
bool settled(const std::vector<Samples>& all) {
    return std::all_of(all.begin(), all.end(), [&](const Samples& each) {
        std::vector<double> ratios;
        std::transform(each.seconds.begin(), each.seconds.end(), all.front().seconds.begin(),
                       std::back_inserter(ratios), std::divides<>());
        std::sort(ratios.begin(), ratios.end());
        const std::size_t count = ratios.size();
        const double spread = ratios[count * 3 / 4] - ratios[count / 4];
        return spread < 0.03 * ratios[count / 2] * std::sqrt(static_cast<double>(count));
    });
}

/// What a column makes.
std::string made(const Column& column) {
    if (column.before) {
        column.before();
    }
    Sink sink(true);
    column.run(sink);
    return std::move(sink.kept);
}

/// Each round takes one sample of every column, in random order, so that what disturbs one disturbs its neighbours; and
/// there are more rounds as long as they disagree, up to three times as many.
bool measure(const Job& job, std::size_t rounds, double length) {
    std::vector<Samples> all;
    for (auto& [library, column] : job.columns()) {
        all.insert(library == "moraine" ? all.begin() : all.end(), {library, column});
    }
    const std::string expected = made(all.front().column);
    for (const Samples& each : all) {
        if (made(each.column) != expected) {
            std::fprintf(stderr, "%s: %s makes something else\n", job.name.c_str(), each.library.c_str());
            return false;
        }
    }
    // What the logger waits for counts; elsewhere only what the work itself takes, whatever the neighbours do.
    const clockid_t clock = job.name.rfind("logger/", 0) == 0 ? CLOCK_MONOTONIC : CLOCK_PROCESS_CPUTIME_ID;
    std::vector<Samples*> order;
    for (Samples& each : all) {
        for (double taken = timed(each, clock); taken < length / 2; taken = timed(each, clock)) {
            each.runs *= static_cast<std::size_t>(std::clamp(length / std::max(taken, 1e-9), 2.0, 10.0));
        }
        order.push_back(&each);
    }
    std::mt19937 random(1);  // NOLINT: any order will do
    for (std::size_t round = 0; round < rounds || (rounds > 3 && round < 3 * rounds && !settled(all)); ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (Samples* const each : order) {
            each->seconds.push_back(timed(*each, clock) / static_cast<double>(each->runs));
        }
    }
    std::printf(R"({"job": "%s", "bytes": %zu, "seconds": {)", job.name.c_str(), job.bytes);
    for (const Samples& each : all) {
        std::printf("%s\"%s\": [", &each == &all.front() ? "" : "], ", each.library.c_str());
        for (std::size_t i = 0; i < each.seconds.size(); ++i) {
            std::printf(i == 0 ? "%.4g" : ", %.4g", each.seconds[i]);
        }
    }
    std::puts("]}}");
    return std::fflush(stdout) == 0;
}

}  // namespace

void add(Job job) {
    jobs().push_back(std::move(job));
}

void textJob(const std::string& kind, const std::string& shape, const Texts& texts) {
    std::size_t bytes = 0;
    for (const Text& text : texts) {
        bytes += text.narrow.size();
    }
    job(kind, shape, bytes, texts);
}

std::string temporaryFile(const std::string& name) {
    struct Folder {
        std::string path = std::filesystem::temp_directory_path() / "moraine-bench-XXXXXX";
        bool made = mkdtemp(path.data()) != nullptr;
        ~Folder() { std::filesystem::remove_all(path); }
    };
    static const Folder folder;
    return folder.path + '/' + name;
}

}  // namespace bench

int main(int count, char** arguments) {
    if (count < 3 || count > 4) {
        return std::fputs("Usage: moraine_bench ROUNDS SECONDS-OF-A-SAMPLE [REGEX-OF-JOBS]\n", stderr), 2;
    }
    std::printf(R"({"compiler": "%s", "cores": %u, "peers": "%s", "missing": "%s"})"
                "\n",
                BENCH_COMPILER, std::thread::hardware_concurrency(), BENCH_PEERS, BENCH_MISSING);
    const auto rounds = std::strtoul(arguments[1], nullptr, 10);
    const double length = std::strtod(arguments[2], nullptr);
    const std::regex wanted(count > 3 ? arguments[3] : "");
    static_cast<void>(bench::temporaryFile(""));  // is made here, and goes when this process ends
    bool good = std::fflush(stdout) == 0;
    for (const bench::Job& job : bench::jobs()) {
        if (std::regex_search(job.name, wanted)) {
            // In a process of its own, whose memory no other job has shaped.
            const pid_t child = fork();
            if (child == 0) {
                std::_Exit(bench::measure(job, rounds, length) ? 0 : 1);
            }
            int status = 1;
            good = waitpid(child, &status, 0) == child && status == 0 && good;
        }
    }
    return good ? 0 : 1;
}
