// Threads write lines to a log that other processes may write to as well: log_append [FILE]
#include <thread>

#include <moraine/extras/AppendLogger.h>
#include <moraine/extras/Utf8.h>

int main(int count, char** words) {
    moraine::extras::AppendLogger log(moraine::extras::fromUtf8(count > 1 ? words[1] : "app.log").c_str());
    log.setRotation({10'000'000, false, 9});  // a new file every 10 MB, nine old ones kept
    const auto work = [&log](const char* name) {
        for (int i = 1; i <= 100; ++i) {
            log.info(std::string(name) + " says " + std::to_string(i) + " 🙂");
        }
    };
    std::thread one(work, "one");
    std::thread two(work, "two");
    one.join();
    two.join();
}
