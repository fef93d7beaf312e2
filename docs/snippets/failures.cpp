// The examples of docs/failures.md.

#include <moraine/io/DataFormatException.h>
#include <moraine/io/FileInputStream.h>
#include <moraine/io/FileNotFoundException.h>

#include "tests/support.h"

using namespace moraine;

namespace {

//! [catching]
/// The size of a settings file; 0 if there is none. Other failures are written to `report`.
unsigned int sizeOf(const WideChar* name, WideString& report) {
    try {
        io::FileInputStream file(name);
        char block[1000];
        return file.read(block, sizeof block);
    } catch (io::FileNotFoundException&) {
        return 0;  // the narrow class first
    } catch (lang::Exception& e) {
        report = *e.getTrace();
        return 0;
    }
}
//! [catching]

//! [throwing]
class Settings {
public:
    void check(unsigned int size) {
        if (size == 0) {
            io::DataFormatException failure(className, __LINE__);
            failure.setMessage(u"The settings are empty.");
            throw failure;
        }
    }

    void load(const WideChar* name) {
        try {
            WideString report;
            check(sizeOf(name, report));
        } catch (lang::Exception& e) {
            e.addTrace(className, __LINE__);
            throw;  // the same object, of the same class
        }
    }

private:
    static constexpr const WideChar* className = u"my::Settings";
};
//! [throwing]

TEST(Failures, AreCaughtByClass) {
    const test::TemporaryDirectory folder;
    WideString report;
    EXPECT_EQ(sizeOf(folder.name(u"none").c_str(), report), 0U);
    EXPECT_EQ(report, u"");
    EXPECT_EQ(sizeOf(folder.root.u16string().c_str(), report), 0U);
    EXPECT_EQ(report.find(u"moraine::exception::Exception : This file is directoy. : "), 0U);
}

TEST(Failures, GatherLines) {
    test::expectFailure<io::DataFormatException>([] { Settings().load(u"none"); }, u"The settings are empty.",
                                                 {u"my::Settings", u"my::Settings"});
}

}  // namespace
