#include "core/status/status.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Named {
    std::int32_t code;
    const char* name;
};

// Every code of the range that the table can cover, in table order.
std::vector<Named> allNames() {
    std::vector<Named> found;
    for (std::int32_t code = 2000; code >= -100100; --code) {
        if (const char* const name = statusName(code)) {
            found.push_back({code, name});
        }
    }
    return found;
}

TEST(StatusNames, TheTableHasItsFullSize) {
    std::size_t errors = 0, informational = 0, successes = 0;
    std::set<std::string> distinct;
    const std::vector<Named> names = allNames();
    for (const Named& entry : names) {
        const std::string_view name = entry.name;
        errors += name.starts_with("ERR_");
        informational += name.starts_with("STATUS_");
        successes += name.starts_with("OK");
        distinct.insert(entry.name);
    }
    EXPECT_EQ(names.size(), 1667u);
    EXPECT_EQ(distinct.size(), names.size());
    EXPECT_EQ(errors, 1644u);
    EXPECT_EQ(informational, 20u);
    EXPECT_EQ(successes, 2u);
    EXPECT_STREQ(names.front().name, "OK_SSL_USE_EMPTY_CERT");
    EXPECT_STREQ(names.back().name, "LAST_ERROR");
}

TEST(StatusNames, KnownCodes) {
    const Named cases[] = {
        {0, "OK"},
        {1000, "OK_SSL_USE_EMPTY_CERT"},
        {-5808, "ERR_RTOS_WRAP_MUTEX_RELEASE"},
        {-5907, "ERR_TCP_INIT_FAIL"},
        {-6001, "ERR_NULL_POINTER"},
        {-6015, "ERR_INTERNAL_ERROR"},
        {-6101, "ERR_MEM_ALLOC_FAIL"},
        {-7103, "ERR_RAND_TERMINATE_THREADS"},
        {-7202, "ERR_FILE_READ_FAILED"},
        {-7507, "ERR_SSL_7"},
        {-7615, "ERR_CERT_STACK_OVERFLOW"},
        {-7716, "ERR_RSA_UNSUPPORTED_PKCS8_ALGO"},
        {-7910, "ERR_AES_BAD_ARG"},
        {-8001, "ERR_TREE_LINKEDCHILD"},
        {-8108, "ERR_ASN_UNEXPECTED_END"},
        {-8844, "ERR_IPSEC_44"},
        {-8845, "STATUS_IPSEC_45"},
        {-8854, "STATUS_IPSEC_54"},
        {-8965, "ERR_IKE_65"},
        {-8966, "STATUS_IKE_66"},
        {-8975, "STATUS_IKE_75"},
        {-9011, "ERR_CRYPTO_SHA_ALGORITHM_DISABLED"},
        {-10005, "ERR_WALKER_INVALID_INSTRUCTION"},
        {-10204, "ERR_PKCS7_INVALID_SIGNATURE"},
        {-10604, "ERR_DER_BER_NOT_TERMINATED"},
        {-17701, "ERR_DSA_HASH_TOO_SMALL"},
        {-52033, "ERR_VPN_CLIENT_33"},
        {-99999, "LAST_ERROR"},
    };
    for (const Named& expected : cases) {
        EXPECT_STREQ(statusName(expected.code), expected.name) << expected.code;
    }
}

TEST(StatusNames, CodesWithoutAMemberHaveNoName) {
    for (const std::int32_t code : {1, -1, 999, 1001, -5799, -7104, -8855, -52034, -100000, INT32_MAX, INT32_MIN}) {
        EXPECT_EQ(statusName(code), nullptr) << code;
    }
}

TEST(StatusNames, SuccessIsWhatIsNotNegative) {
    EXPECT_FALSE(isError(OK));
    EXPECT_FALSE(isError(OK_SSL_USE_EMPTY_CERT));
    EXPECT_TRUE(isError(ERR_GENERAL));
}

} // namespace
