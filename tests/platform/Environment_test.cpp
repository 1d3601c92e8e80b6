#include <Kestrel/Environment.h>

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

TEST(Environment, UnsetVariableGivesEmptyText) {
    ::unsetenv("KESTREL_TEST_UNSET_VARIABLE");
    EXPECT_EQ(Kestrel::Environment::getEnv("KESTREL_TEST_UNSET_VARIABLE"), "");
}

TEST(Environment, ValueIsReadAtEveryCall) {
    ::setenv("KESTREL_TEST_VARIABLE", "first", 1);
    EXPECT_EQ(Kestrel::Environment::getEnv("KESTREL_TEST_VARIABLE"), "first");
    ::setenv("KESTREL_TEST_VARIABLE", " 3 ", 1);
    EXPECT_EQ(Kestrel::Environment::getEnv("KESTREL_TEST_VARIABLE"), " 3 ");
    ::unsetenv("KESTREL_TEST_VARIABLE");
    EXPECT_EQ(Kestrel::Environment::getEnv("KESTREL_TEST_VARIABLE"), "");
}

}  // namespace
