// The examples of docs/validators.md.

#include <moraine/util/validator/GenericValidator.h>

#include "tests/support.h"

using namespace moraine;

namespace {

TEST(Validators, TellTheFirstFault) {
    //! [checks]
    util::validator::GenericValidator validator;
    const int fault = validator.isNumberW(u"20x6");  // 2, the index of the "x"
    const bool number = validator.isNumber("2026") == -1;
    const bool date = validator.isDate(2026, 2, 29);  // false
    const bool given = validator.isNumber("") == -1;  // true: whether there is a text is another question
    //! [checks]
    EXPECT_EQ(fault, 2);
    EXPECT_TRUE(number);
    EXPECT_FALSE(date);
    EXPECT_TRUE(given);
}

}  // namespace
