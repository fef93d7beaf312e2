#ifndef MORAINE_BENCH_BENCH_H
#define MORAINE_BENCH_BENCH_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// One way to do a job: this library's or a peer's.
struct Column {
    /// "moraine", or the name of the peer.
    std::string name;
    /// Does the work once and tells what came out. All columns of a job must tell the same; looked at before the
    /// timing.
    std::function<std::string()> outcome;
    /// Does the work once; this is timed. Must read what it makes, so that no compiler can leave it out.
    std::function<void()> run;
    /// For input too large to be kept: makes it before the timed work and drops it behind that, both untimed. Neither
    /// is called around `outcome`.
    std::function<void()> prepare = {};
    std::function<void()> release = {};
};

/// A column whose timed work hands over its result, which is a text or bytes.
Column column(std::string name, std::function<std::string()> run);

/// Registers the benchmarks "NAME/COLUMN" for work on @p bytes bytes of input (0: only the time is of interest).
/// Each run of a column works on the same input. The input outlives the process's main function or is held by the
/// functions themselves.
void job(const std::string& name, std::size_t bytes, const std::vector<Column>& columns);

/// Registers all jobs of one file when the program starts: `const bench::Jobs jobs{[] { job(...); }};`.
/// Input is better made on first use than here, since most runs are filtered.
class Jobs {
public:
    explicit Jobs(void (*add)());
};

/// A short text for a result that is too long to be printed: its length and a hash.
std::string digest(const std::string& bytes);

}  // namespace bench

#endif
