#include "base/Trace.h"

#include <string>

#include <gtest/gtest.h>

namespace {

TEST(TraceTest, SilentUntilASinkIsSet) {
    EXPECT_FALSE(Bedrock::IsTraceEnabled());
    Bedrock::Trace("nobody listens\n");
    Bedrock::Trace("nor %1\n", 2);

    std::string log;
    Bedrock::SetTraceSink([&log](const char* message) { log += message; });
    EXPECT_TRUE(Bedrock::IsTraceEnabled());
    Bedrock::Trace("plain 100%\n");
    Bedrock::Trace(Bedrock::Utf8String("string\n"));
    Bedrock::Trace("%2 %1\n", "b", 7);
    EXPECT_EQ(log, "plain 100%\nstring\n7 b\n");

    Bedrock::SetTraceSink(nullptr);
    Bedrock::Trace("dropped\n");
    EXPECT_EQ(log, "plain 100%\nstring\n7 b\n");
    EXPECT_FALSE(Bedrock::IsTraceEnabled());
}

}  // namespace
