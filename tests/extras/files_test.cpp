#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <set>
#include <thread>

#include "moraine/extras/AppendLogger.h"
#include "moraine/extras/Files.h"
#include "moraine/extras/Properties.h"
#include "moraine/extras/ReplacingFileOutputStream.h"
#include "moraine/io/FileNotFoundException.h"
#include "moraine/io/IOException.h"
#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/IllegalStateException.h"

#include "extras_support.h"

namespace moraine::test {
namespace {

namespace fs = std::filesystem;
using extras::AppendLogger, extras::Properties, extras::ReplacingFileOutputStream, extras::toUtf8;

class ExtrasFiles : public ::testing::Test {
protected:
    long filesInFolder() const { return std::distance(fs::directory_iterator(folder.root), {}); }

    TemporaryDirectory folder;
    WideString name = folder.name(u"f\u00fc \xD83D\xDE42");
    fs::path path = name;
};

TEST_F(ExtrasFiles, AreReplacedWhenTheyAreComplete) {
    makeFile(path, "old");
    fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::group_read);
    const fs::perms before = fs::status(path).permissions();
    fs::create_symlink(path, folder.path("link"));
    {
        ReplacingFileOutputStream lost(name.c_str());
        ReplacingFileOutputStream file(folder.name(u"link").c_str());
        EXPECT_EQ(lost.write("lost", 4), 4U);
        EXPECT_EQ(file.write("new", 3), 3U);
        EXPECT_EQ(contentOf(path), "old");
        file.close();
        file.close();
        EXPECT_EQ(failureOf([&] { file.write("x", 1); }), "The stream is closed.");
    }
    EXPECT_EQ(contentOf(path), "new");
    EXPECT_EQ(fs::status(path).permissions(), before);
    EXPECT_TRUE(fs::is_symlink(folder.path("link")));
    EXPECT_EQ(filesInFolder(), 2);
    {
        ReplacingFileOutputStream file(name.c_str());
        fs::remove(path);
        fs::create_directory(path);
        EXPECT_EQ(failureOf([&] { file.close(); }), "The file could not be written. : " + toUtf8(name));
        EXPECT_THROW(file.write("x", 1), io::IOException);
    }
    EXPECT_EQ(filesInFolder(), 2);
    EXPECT_THROW(ReplacingFileOutputStream(nullptr), lang::IllegalArgumentException);
    for (const WideString& bad : {name, WideString(), folder.name(u"none/a"), WideString(1, 0xD800)}) {
        EXPECT_THROW(ReplacingFileOutputStream(bad.c_str()), io::FileNotFoundException);
    }
    makeFile(folder.path("fixed"), "");
    fs::permissions(folder.path("fixed"), fs::perms::owner_read);
    EXPECT_THROW(ReplacingFileOutputStream(folder.name(u"fixed").c_str()), io::IOException);
}

TEST_F(ExtrasFiles, AreReadWrittenAndCopiedWhole) {
    std::string bytes(100000, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i * i >> 3);
    }
    extras::writeAll(name.c_str(), bytes);
    EXPECT_EQ(extras::readAll(name.c_str()), bytes);
    Blocks in(bytes, 777);
    Keeper out;
    EXPECT_EQ(extras::copy(in, out), bytes.size());
    EXPECT_EQ(out.bytes, bytes);
    out.excess = 2000;
    EXPECT_EQ(failureOf([&] { extras::writeAll(out, bytes); }), "The stream could not be written.");
    out.most = out.excess = 0;
    EXPECT_EQ(failureOf([&] { extras::writeAll(out, bytes); }), "The stream could not be written.");
    struct : io::InputStream {
        unsigned int read(char*, unsigned int) override { return 0xFFFFFFFF; }
        void close() override {}
        void skip(long) override {}
    } broken;
    EXPECT_EQ(failureOf([&] { extras::readAll(broken); }), "The stream could not be read.");
}

TEST_F(ExtrasFiles, PropertiesKeepWhatTheyAreGiven) {
    Properties none = Properties::load(name.c_str());
    EXPECT_EQ(none.size(), 0U);
    makeFile(
        path,
        "\xEF\xBB\xBF# c\n\r ignored\n\nport= 80 \r\r\nname=\xF0\x9F\x99\x82=\r x\nport=81\nquiet=Off\nempty=\nlong=" +
            std::string(50000, 'x'));
    Properties settings = Properties::load(name.c_str());
    EXPECT_EQ(settings.get(u"name"), u"\xD83D\xDE42=\r x");
    EXPECT_EQ(settings.get(u"port"), u" 80 ");
    EXPECT_EQ(settings.getNumber(u"port", 1), 80);
    EXPECT_EQ(settings.getNumber(u"none", -5), -5);
    EXPECT_FALSE(settings.getFlag(u"quiet", true));
    EXPECT_TRUE(settings.getFlag(u"none", true));
    EXPECT_EQ(settings.get(u"empty", u"x"), u"");
    EXPECT_EQ(settings.get(u"none", u"x"), u"x");
    EXPECT_EQ(settings.get(u"long").size(), 50000U);
    EXPECT_EQ(failureOf([&] { settings.getNumber(u"quiet", 0); }), "The value of quiet is no number. : Off");
    EXPECT_EQ(failureOf([&] { settings.getFlag(u"port", false); }), "The value of port is neither yes nor no. :  80 ");

    settings.setNumber(u"port", -9000000000);
    settings.setFlag(u"quiet", true);
    EXPECT_TRUE(settings.remove(u"long"));
    EXPECT_FALSE(settings.remove(u"long"));
    settings.save(name.c_str());
    EXPECT_EQ(contentOf(path), "empty=\nname=\xF0\x9F\x99\x82=\r x\nport=-9000000000\nquiet=true\n");
    const Properties again = Properties::load(name.c_str());
    EXPECT_TRUE(std::equal(again.begin(), again.end(), settings.begin(), settings.end()));

    for (const WideString& bad : {WideString(u"a\nb"), WideString(u"a\r"), WideString(2, 0), WideString(1, 0xDC00)}) {
        EXPECT_THROW(settings.set(u"n", bad), lang::IllegalArgumentException);
    }
    for (const WideChar* const bad : {u"", u"a b", u"\u00fc", u"a=b"}) {
        EXPECT_THROW(settings.set(bad, u""), lang::IllegalArgumentException);
    }
    const std::pair<const char*, const char*> faults[] = {
        {"no sign", "'=' is missing."}, {" a=b", "The line starts with a blank."},
        {"=b", "The name is empty."},   {"a b=c", "The name has other characters than letters, digits and '_'."},
        {"a=\xFF", "Malformed UTF-8."},
    };
    for (const auto& [line, sentence] : faults) {
        Blocks in("a=1\r\n" + std::string(line) + "\nb=2");
        EXPECT_EQ(failureOf([&] { Properties::load(in); }), std::string(sentence) + " : line 2");
    }
    makeFile(path, "x");
    EXPECT_EQ(failureOf([&] { Properties::load(name.c_str()); }), "'=' is missing. : line 1, file " + toUtf8(name));
}

/// Every message of the form "P T N" in the log and its older files, each of which must be whole.
std::multiset<std::string> messagesIn(const fs::path& folder, std::size_t longest) {
    std::multiset<std::string> found;
    for (const auto& entry : fs::directory_iterator(folder)) {
        const std::string content = contentOf(entry.path());
        EXPECT_LE(content.size(), longest) << entry.path();
        for (std::size_t at = 0; at < content.size();) {
            const std::size_t end = content.find("\r\n", at);
            EXPECT_NE(end, std::string::npos);
            const std::string line = content.substr(at, end - at);
            EXPECT_TRUE(line.size() > 25 && line[4] == '/' && line[13] == ':' && line.substr(19, 6) == " INFO ")
                << line;
            found.insert(line.substr(25));
            at = end + 2;
        }
    }
    return found;
}

TEST_F(ExtrasFiles, ManyAppendToOneLogAndNothingIsLost) {
    constexpr int processes = 3, threads = 2, lines = 300;
    constexpr std::size_t size = 5000;
    const auto work = [&](int process) {
        std::vector<std::thread> all;
        AppendLogger log(name.c_str());
        log.setRotation({size, false, 100});
        for (int thread = 0; thread < threads; ++thread) {
            all.emplace_back([&log, process, thread] {
                for (int i = 0; i < lines; ++i) {
                    log.info(std::to_string(process) + ' ' + std::to_string(thread) + ' ' + std::to_string(i));
                }
            });
        }
        for (std::thread& one : all) {
            one.join();
        }
    };
    for (int process = 1; process < processes; ++process) {
        if (::fork() == 0) {
            work(process);
            ::_exit(0);
        }
    }
    work(0);
    for (int process = 1, status = 1; process < processes; ++process) {
        EXPECT_GT(::wait(&status), 0);
        EXPECT_EQ(status, 0);
    }
    const std::multiset<std::string> found = messagesIn(folder.root, size);
    EXPECT_EQ(found.size(), std::size_t{processes * threads * lines});
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()).size(), found.size());
}

TEST_F(ExtrasFiles, LogsHaveLevelsDaysAndLimits) {
    makeFile(path, "kept\r\n");
    AppendLogger log(name.c_str(), AppendLogger::Level::warning);
    EXPECT_STREQ(toUtf8(log.getOutputPath()).c_str(), toUtf8(name).c_str());
    log.info("not written");
    log.error("\xF0\x9F\x99\x82 \xFF");
    log.write(u"wide");
    EXPECT_FALSE(log.isEnabled(AppendLogger::Level::info));
    log.setThreshold(AppendLogger::Level::debug);
    log.debug("now");
    std::string content = contentOf(path);
    EXPECT_EQ(content.substr(0, 6), "kept\r\n");
    for (const std::string part : {" ERROR \xF0\x9F\x99\x82 \xEF\xBF\xBD\r\n", " INFO wide\r\n", " DEBUG now\r\n"}) {
        EXPECT_NE(content.find(part), std::string::npos) << content;
    }
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    char today[20];
    std::strftime(today, sizeof today, "%Y/%m/%d ", ::gmtime_r(&now, &utc));
    EXPECT_NE(content.find(today), std::string::npos) << "or midnight has just passed";

    // Only a file of another day is moved away, and only so many are kept.
    log.setRotation({0, true, 1});
    log.info("same day");
    EXPECT_EQ(filesInFolder(), 1);
    for (const char* const line : {"one", "two", "three"}) {
        fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(25));
        log.info(line);
    }
    EXPECT_EQ(filesInFolder(), 2);
    EXPECT_NE(contentOf(path).find("three"), std::string::npos);
    EXPECT_NE(contentOf(folder.path(toUtf8(u"f\u00fc \xD83D\xDE42.1"))).find("two"), std::string::npos);

    log.setOutputPath(folder.name(u"none/log").c_str());
    EXPECT_EQ(failureOf([&] { log.info("x"); }), "The log could not be written. : " + toUtf8(folder.name(u"none/log")));
    log.setOutputPath(u"/dev/full");
    EXPECT_THROW(log.info("x"), io::IOException);
    log.setOutputPath(nullptr);
    EXPECT_THROW(log.info("x"), lang::IllegalStateException);
}

}  // namespace
}  // namespace moraine::test
