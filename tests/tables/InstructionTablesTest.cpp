// The control value table and the two font-wide programs: what a clean and
// a dirty save write, and the factory rows that make them.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/Counted.h"
#include "base/Trace.h"
#include "core/TableManager.h"
#include "tables/OTcvtTable.h"
#include "tables/OTfpgmTable.h"
#include "tables/OTprepTable.h"
#include "TestUtil.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::HexBuffer;
using TypeframeTest::HexBytes;

TEST(OTcvtTableTest, OddLastByteIsLostOnADirtySave) {
    auto cvt = Bedrock::MakeCounted<OTcvtTable>(nullptr);
    ASSERT_TRUE(cvt->Load(HexBuffer("0001 FFFF 80 00 7F")));
    EXPECT_EQ(cvt->GetValueCount(), 3u);
    std::vector<short> values;
    cvt->GetValues(values);
    EXPECT_EQ(values, (std::vector<short>{1, -1, -32768}));

    // Clean: the bytes as they came.
    ASSERT_TRUE(cvt->Save());
    EXPECT_EQ(BufferBytes(*cvt->GetBuffer()), HexBytes("0001 FFFF 80 00 7F"));
    // Setting the same values still makes the table dirty.
    cvt->SetValues(values);
    EXPECT_TRUE(cvt->IsDirty());
    ASSERT_TRUE(cvt->Save());
    EXPECT_FALSE(cvt->IsDirty());
    EXPECT_EQ(BufferBytes(*cvt->GetBuffer()), HexBytes("0001 FFFF 8000"));

    cvt->SetValues({300});
    ASSERT_TRUE(cvt->Save());
    EXPECT_EQ(BufferBytes(*cvt->GetBuffer()), HexBytes("012C"));

    // A reload replaces the values; one byte gives none.
    ASSERT_TRUE(cvt->Load(HexBuffer("05")));
    EXPECT_EQ(cvt->GetValueCount(), 0u);
    EXPECT_FALSE(cvt->Load(nullptr));
}

template <class T>
class ProgramTableTest : public ::testing::Test {};
using ProgramTables = ::testing::Types<OTfpgmTable, OTprepTable>;
TYPED_TEST_SUITE(ProgramTableTest, ProgramTables);

TYPED_TEST(ProgramTableTest, DirtySaveTakesTheAssembledBytes) {
    auto table = Bedrock::MakeCounted<TypeParam>(nullptr);
    ASSERT_TRUE(table->Load(HexBuffer("B1 01 02 2F")));
    ASSERT_TRUE(table->compiler);
    EXPECT_EQ(table->compiler->assembly.size(), 4u);

    // Clean: the loaded bytes stay, even when the text has changed.
    table->compiler->assembly.push_back(Utf8String("SVTCA[1]"));
    ASSERT_TRUE(table->Save());
    EXPECT_EQ(BufferBytes(*table->GetBuffer()), HexBytes("B1 01 02 2F"));

    table->SetIsDirty(true);
    ASSERT_TRUE(table->Save());
    EXPECT_FALSE(table->IsDirty());
    EXPECT_EQ(BufferBytes(*table->GetBuffer()), HexBytes("B1 01 02 2F 01"));

    // A copy has a compiler of its own.
    auto copy = table->Clone();
    auto* program = static_cast<TypeParam*>(copy.Get());
    ASSERT_TRUE(program->compiler);
    EXPECT_NE(program->compiler.Get(), table->compiler.Get());
    program->compiler->assembly.clear();
    EXPECT_EQ(table->compiler->assembly.size(), 5u);
}

TYPED_TEST(ProgramTableTest, FailuresLeaveTheTableAsItWas) {
    auto table = Bedrock::MakeCounted<TypeParam>(nullptr);
    // A push that runs past the end does not load.
    EXPECT_FALSE(table->Load(HexBuffer("B1 01")));

    ASSERT_TRUE(table->Load(HexBuffer("2F")));
    table->compiler->assembly.push_back(Utf8String("MIRP[1]"));
    table->SetIsDirty(true);
    std::string log;
    Bedrock::SetTraceSink([&log](const char* message) { log += message; });
    EXPECT_FALSE(table->Save());
    Bedrock::SetTraceSink(nullptr);
    EXPECT_EQ(log, "Incorrect number of argument bits (MIRP[1])Failed to Assemble TT\n");
    EXPECT_TRUE(table->IsDirty());
    EXPECT_EQ(BufferBytes(*table->GetBuffer()), HexBytes("2F"));

    // Without a compiler there is nothing to save from.
    auto bare = Bedrock::MakeCounted<TypeParam>(nullptr);
    EXPECT_TRUE(bare->Save());
    bare->SetIsDirty(true);
    EXPECT_FALSE(bare->Save());
}

TEST(InstructionTablesTest, FactoryMakesTheirClasses) {
    TableManager manager(nullptr);
    EXPECT_TRUE(dynamic_cast<OTcvtTable*>(manager.CreateTable(nullptr, MakeTag("cvt ")).Get()));
    EXPECT_TRUE(dynamic_cast<OTfpgmTable*>(manager.CreateTable(nullptr, MakeTag("fpgm")).Get()));
    EXPECT_TRUE(dynamic_cast<OTprepTable*>(manager.CreateTable(nullptr, MakeTag("prep")).Get()));
    EXPECT_EQ(manager.CreateTable(nullptr, MakeTag("prep"))->GetTag(), MakeTag("prep"));
}
