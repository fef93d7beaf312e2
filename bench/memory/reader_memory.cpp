// What reading XML takes of memory: a stream of records that is made while it is read, small and large, each read in a
// process of its own. Prints, as JSON, the peak of the resident memory above that of a process that does nothing.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <moraine/io/InputStream.h>
#include <moraine/xml/DOM/XMLReader.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// A document of about so many bytes, of which no more than one record exists at a time.
class Records : public moraine::io::InputStream {
public:
    explicit Records(long bytes) : left(bytes) {}

    unsigned int read(char* buffer, unsigned int length) override {
        unsigned int count = 0;
        while (count < length && (at < piece.size() || next())) {
            const std::size_t step = std::min<std::size_t>(length - count, piece.size() - at);
            std::memcpy(buffer + count, piece.data() + at, step);
            at += step;
            count += static_cast<unsigned int>(step);
        }
        return count;
    }
    void close() override {}
    /// Only ever back to the end of the declaration, which the first piece holds.
    void skip(long count) override { at = static_cast<std::size_t>(static_cast<long>(at) + count); }

private:
    bool next() {
        if (ended) {
            return false;
        }
        at = 0;
        ended = left <= 0;
        piece = ended ? "</root>\n"
                      : "<record id=\"" + std::to_string(left) + "\" state='open'><name>Item &amp; part</name><price>" +
                            std::to_string(left % 9973) + "</price></record>\n";
        left -= static_cast<long>(piece.size());
        return true;
    }

    long left;
    std::string piece = "<?xml version=\"1.0\" encoding=\"UTF-8\"?><root>" + std::string(10300, '\n');
    std::size_t at = 0;
    bool ended = false;
};

/// Reads a document of so many bytes; 0 reads none. Returns the number of pieces.
long readAll(long bytes) {
    if (bytes == 0) {
        return 0;
    }
    Records stream(bytes);
    moraine::xml::DOM::XMLReader reader(&stream);
    long pieces = 0;
    while (reader.doRead()) {
        ++pieces;
    }
    return pieces;
}

struct Result {
    long pieces = -1;
    long peakKilobytes = -1;
};

/// Starts this program anew, to read a document of so many bytes. A fork alone would begin with less than any process
/// that has been started has.
Result measured(const char* program, long bytes) {
    Result result;
    int ends[2];
    if (pipe(ends) != 0) {
        return result;
    }
    const pid_t child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        execl(program, program, std::to_string(bytes).c_str(), nullptr);
        _exit(127);
    }
    close(ends[1]);
    char answer[32] = {};
    const ssize_t length = read(ends[0], answer, sizeof answer - 1);
    close(ends[0]);
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) == child && status == 0 && length > 0) {
        result = {std::atol(answer), usage.ru_maxrss};
    }
    return result;
}

}  // namespace

int main(int count, char** arguments) {
    if (count == 2) {
        std::printf("%ld\n", readAll(std::atol(arguments[1])));
        return 0;
    }
    const char* const program = "/proc/self/exe";
    const Result empty = measured(program, 0);
    bool good = empty.pieces == 0;
    std::printf("{\"empty_process_kilobytes\": %ld, \"runs\": [", empty.peakKilobytes);
    const char* separator = "";
    for (const long bytes : {10000000L, 1000000000L}) {
        const Result run = measured(program, bytes);
        good = good && run.pieces > bytes / 100;
        std::printf("%s{\"bytes\": %ld, \"pieces\": %ld, \"kilobytes_above_empty\": %ld}", separator, bytes, run.pieces,
                    run.peakKilobytes - empty.peakKilobytes);
        std::fflush(stdout);
        separator = ", ";
    }
    std::printf("]}\n");
    return good ? 0 : 1;
}
