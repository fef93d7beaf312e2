#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include <moraine/util/log/ILogger.h>

#include "bench.h"

namespace {

constexpr int lineCount = 1000;
constexpr std::size_t lineSize = 122;  // 19 of the time, a blank, the message, CR LF

const bench::Logging own("moraine", [](const std::string& path, int lines) {
    const moraine::WideString text(bench::message.begin(), bench::message.end());
    moraine::util::log::ILogger logger;
    logger.setOutputPath(moraine::WideString(path.begin(), path.end()).c_str());
    for (int i = 0; i < lines; ++i) {
        logger.write(text.c_str());
    }
});

// What the system takes for a line that is written with a lock held: no clock, no text to be made.
const bench::Logging bound("flock-write", [](const std::string& path, int lines) {
    const std::string line = "2026/11/18 07:35:22 " + bench::message + "\r\n";
    const int lock = open(bench::temporaryFile("flock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    const int log = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    for (int i = 0; i < lines; ++i) {
        flock(lock, LOCK_EX);
        static_cast<void>(write(log, line.data(), line.size()) < 0);
        flock(lock, LOCK_UN);
    }
    close(log);
    close(lock);
});

const bench::Jobs jobs([] {
    bench::job<int>("logger", "1 process", lineCount * lineSize, 0);
    bench::job<int>("logger", "4 processes", lineCount * lineSize, 4);
});

}  // namespace

bench::Logging::Logging(const char* library, void (*log)(const std::string& path, int lines))
    : Way("logger", library, [=](int children) {
          std::vector<std::string> paths;
          for (int i = 0; i < std::max(children, 1); ++i) {
              paths.push_back(temporaryFile("log" + std::to_string(i)));
          }
          const int share = lineCount / static_cast<int>(paths.size());
          return Column{[=, forks = children > 0](Sink& sink) {
              for (const std::string& path : paths) {
                  if (forks && fork() != 0) {
                      continue;
                  }
                  log(path, share);
                  forks ? _exit(0) : void();
              }
              while (wait(nullptr) > 0) {
              }
              for (const std::string& path : paths) {
                  std::ifstream in(path, std::ios::binary);
                  for (std::string line; sink.keeps && std::getline(in, line);) {
                      sink(line.size() + 1 == lineSize ? line.substr(19) : "a broken line");  // but for the time
                  }
              }
          }};
      }) {}
