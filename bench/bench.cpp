#include "bench.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <utility>

namespace bench {

namespace {

bool failed = false;

/// The columns of a job, which are compared before the first of them is timed.
class Group {
public:
    Group(std::string jobName, std::vector<Column> jobColumns)
        : name(std::move(jobName)), columns(std::move(jobColumns)) {}

    /// Whether all columns do the same work.
    bool agree() {
        if (!compared) {
            compared = true;
            const std::string expected = columns.front().outcome();
            for (const Column& column : columns) {
                const std::string told = column.outcome();
                if (told != expected) {
                    std::cerr << name << ": " << columns.front().name << " tells " << expected.substr(0, 200)
                              << "\n    but " << column.name << " tells " << told.substr(0, 200) << '\n';
                    same = false;
                    failed = true;
                }
            }
        }
        return same;
    }

    const Column& column(std::size_t index) const { return columns[index]; }

private:
    std::string name;
    std::vector<Column> columns;
    bool compared = false;
    bool same = true;
};

std::vector<void (*)()>& adders() {
    static std::vector<void (*)()> list;
    return list;
}

}  // namespace

Column column(std::string name, std::function<std::string()> run) {
    return {std::move(name), [run] { return digest(run()); }, [run] { benchmark::DoNotOptimize(run()); }};
}

void job(const std::string& name, std::size_t bytes, const std::vector<Column>& columns) {
    const auto group = std::make_shared<Group>(name, columns);
    for (std::size_t index = 0; index < columns.size(); ++index) {
        benchmark::RegisterBenchmark((name + '/' + columns[index].name).c_str(), [=](benchmark::State& state) {
            if (!group->agree()) {
                state.SkipWithError("the columns do different work");
                return;
            }
            const Column& timed = group->column(index);
            if (timed.prepare) {
                timed.prepare();
            }
            for (auto _ : state) {
                timed.run();
            }
            if (timed.release) {
                timed.release();
            }
            if (bytes != 0) {
                state.SetBytesProcessed(static_cast<std::int64_t>(bytes) *
                                        static_cast<std::int64_t>(state.iterations()));
            }
        })->UseRealTime();
    }
}

Jobs::Jobs(void (*add)()) {
    adders().push_back(add);
}

std::string digest(const std::string& bytes) {
    return std::to_string(bytes.size()) + " bytes, hash " + std::to_string(std::hash<std::string>()(bytes));
}

}  // namespace bench

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    benchmark::AddCustomContext("peers", BENCH_PEERS);
    benchmark::AddCustomContext("compiler", BENCH_COMPILER);
    benchmark::AddCustomContext("missing", BENCH_MISSING);
    for (void (*add)() : bench::adders()) {
        add();
    }
    if (benchmark::RunSpecifiedBenchmarks() == 0) {
        return 1;
    }
    return bench::failed ? 1 : 0;
}
