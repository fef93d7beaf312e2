// The examples of docs/logger.md.

#include <thread>

#include <moraine/util/log/ILogger.h>

#include "tests/support.h"

using namespace moraine;

namespace {

//! [prefix]
/// Puts the name of a part of the program before each message.
class PartLogger : public util::log::ILogger {
public:
    explicit PartLogger(WideString name) : part(std::move(name)) {}

protected:
    void doWriteLog(const WideChar* message) override {
        WideString line = u"[" + part + u"] ";
        if (message != nullptr) {
            line += message;
        }
        ILogger::doWriteLog(line.c_str());
    }

private:
    WideString part;
};
//! [prefix]

TEST(Logger, SerialisesThreads) {
    const test::TemporaryDirectory folder;
    const WideString path = folder.name(u"app.log");
    //! [threads]
    PartLogger log(u"loader");
    log.setOutputPath(path.c_str());  // before the first thread writes
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&log] { log.write(u"started"); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    // app.log: four lines like "2026/11/18 07:35:22 [loader] started"
    //! [threads]
    const std::string lines = test::contentOf(folder.path("app.log"));
    const std::string line = " [loader] started\r\n";
    EXPECT_EQ(lines.size(), 4 * (19 + line.size()));
    EXPECT_EQ(lines.substr(19, line.size()), line);
}

}  // namespace
