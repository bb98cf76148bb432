#include "core/status/status.h"
#include "tests/support/faults.h"

#include "tests/support/vectors.h"

namespace {

TEST(Status, NamesAndVersionTexts) {
    runVectors("core/status/status_vectors.txt",
               {{"name",
                 [](const Words& in, Words& out) {
                     const char* const name = statusName(std::stoi(in[0]));
                     out = {name == nullptr ? "none" : name};
                     return OK;
                 }},
                {"version", [](const Words& in, Words& out) {
                     std::string buffer(64, '#');
                     const Status status = getVersionText(numberOf(in[0]), buffer.data(), numberOf(in[1]));
                     EXPECT_TRUE(status == OK || buffer == std::string(64, '#'));
                     out = status == OK ? Words{buffer.c_str()} : Words();
                     return status;
                 }}});
    char buffer[64];
    expectNullsRefused({getVersionText}, 1, buffer, 64);
    EXPECT_FALSE(isError(OK_SSL_USE_EMPTY_CERT)) << "success is what is not negative";
}

} // namespace
