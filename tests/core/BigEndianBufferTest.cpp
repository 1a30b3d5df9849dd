#include "core/BigEndianBuffer.h"

#include <gtest/gtest.h>

#include <limits>

#include "TestUtil.h"
#include "core/Tag.h"
#include "core/Util.h"

using namespace Typeframe;
using TypeframeTest::BufferBytes;
using TypeframeTest::HexBuffer;
using TypeframeTest::HexBytes;

TEST(BigEndianBuffer, StorageFollowsLengthAndPad) {
    BigEndianBuffer empty;
    EXPECT_EQ(empty.GetChecksum(), 0u);
    EXPECT_EQ(empty.GetPaddedLength(), 0u);

    auto five = HexBuffer("01020304 05");
    EXPECT_EQ(five->GetLength(), 5u);
    EXPECT_EQ(five->GetPaddedLength(), 8u);
    EXPECT_EQ(five->GetChecksum(), 0x01020304u + (0x05u << 24));

    BigEndianBuffer unpadded(5, 0);
    EXPECT_EQ(unpadded.GetPaddedLength(), 5u);
    EXPECT_EQ(unpadded.CalculatePad(7, 4), 1u);
    EXPECT_EQ(unpadded.CalculatePad(8, 4), 0u);
}

TEST(BigEndianBuffer, ReadsFailWithoutTouchingTheTarget) {
    auto buffer = HexBuffer("fffe 0102 0304 0506 0708");
    uint16_t u16 = 0;
    int16_t s16 = 0;
    uint32_t u24 = 0;
    int64_t s64 = 0;
    EXPECT_TRUE(buffer->GetS16(0, s16));
    EXPECT_EQ(s16, -2);
    EXPECT_TRUE(buffer->GetU24(1, u24));
    EXPECT_EQ(u24, 0xfe0102u);
    EXPECT_TRUE(buffer->GetS64(2, s64));
    EXPECT_EQ(s64, 0x0102030405060708);

    u16 = 77;
    EXPECT_FALSE(buffer->GetU16(9, u16));
    EXPECT_EQ(u16, 77);
    // Offsets near the top of the range must not wrap into the buffer.
    EXPECT_FALSE(buffer->GetU16(std::numeric_limits<unsigned long>::max(), u16));
    EXPECT_FALSE(buffer->Read(std::numeric_limits<unsigned long>::max() - 1, 4));
    EXPECT_FALSE(buffer->Read(4, std::numeric_limits<unsigned long>::max()));
    EXPECT_EQ(u16, 77);

    // Sequential reads move only on success.
    buffer->Seek(8);
    EXPECT_TRUE(buffer->GetU16(u16));
    EXPECT_EQ(buffer->Tell(), 10u);
    EXPECT_FALSE(buffer->GetU16(u16));
    EXPECT_EQ(buffer->Tell(), 10u);
    EXPECT_FALSE(buffer->Advance(1));
    buffer->Seek(100);
    uint8_t u8 = 9;
    EXPECT_FALSE(buffer->GetU8(u8));
    EXPECT_EQ(u8, 9);
}

TEST(BigEndianBuffer, WritesGrowAndInvalidateTheChecksum) {
    BigEndianBuffer buffer;
    EXPECT_EQ(buffer.GetChecksum(), 0u);
    buffer.SetU16(0x0102);
    buffer.SetU24(0xAA030405);  // the top byte is dropped
    buffer.SetS8(-1);
    EXPECT_EQ(BufferBytes(buffer), HexBytes("0102 030405 ff"));
    EXPECT_EQ(buffer.Tell(), 6u);
    EXPECT_EQ(buffer.GetChecksum(), 0x01020304u + 0x05ff0000u);

    buffer.SetU32(10, 0x11223344);  // past the end: the gap is zero-filled
    EXPECT_EQ(BufferBytes(buffer), HexBytes("0102 030405 ff 0000 0000 11223344"));
    EXPECT_EQ(buffer.Tell(), 6u);
    buffer.SetU8(0, 0x09);  // inside: the length stays
    EXPECT_EQ(buffer.GetLength(), 14u);
    EXPECT_EQ(buffer.GetChecksum(), buffer.CalculateChecksum());

    // Pointer writes are the caller's to report.
    const uint32_t before = buffer.GetChecksum();
    buffer.GetBuffer()[1] = 0x7f;
    EXPECT_EQ(buffer.GetChecksum(), before);
    buffer.InvalidateChecksum();
    EXPECT_NE(buffer.GetChecksum(), before);

    buffer.Reset(0);
    EXPECT_TRUE(buffer.IsEmpty());
    EXPECT_EQ(buffer.Tell(), 0u);
    EXPECT_EQ(buffer.GetChecksum(), 0u);
}

TEST(BigEndianBuffer, ResizePullsThePositionBack) {
    BigEndianBuffer buffer(10, 4);
    buffer.Seek(9);
    buffer.Resize(3);
    EXPECT_EQ(buffer.Tell(), 3u);
    EXPECT_EQ(buffer.GetPaddedLength(), 4u);
    buffer.Append(2);
    EXPECT_EQ(buffer.GetLength(), 5u);
}

TEST(BigEndianBuffer, BlocksCopyAndKeepThePad) {
    auto buffer = HexBuffer("0102 0304 0506");
    auto block = buffer->Read(2, 3);
    ASSERT_TRUE(block);
    EXPECT_EQ(BufferBytes(*block), HexBytes("030405"));
    EXPECT_EQ(block->GetPad(), 4u);
    block->SetU8(0, 0xee);
    uint8_t original;
    buffer->GetU8(2, original);
    EXPECT_EQ(original, 3);  // a block shares no bytes

    buffer->Seek(6);
    auto atEnd = buffer->Read(0);
    ASSERT_TRUE(atEnd);
    EXPECT_TRUE(atEnd->IsEmpty());
    EXPECT_FALSE(buffer->Read(1));

    uint8_t raw[2] = {0, 0};
    EXPECT_FALSE(buffer->Read(5, 2, raw));
    EXPECT_TRUE(buffer->Read(4, 2, raw));
    EXPECT_EQ(raw[1], 6);

    BigEndianBuffer target;
    target.Seek(2);
    target.Write(Bedrock::Counted<const BigEndianBuffer>(block));
    EXPECT_EQ(BufferBytes(target), HexBytes("0000 ee0405"));
    EXPECT_EQ(target.Tell(), 5u);

    auto clone = buffer->Clone();
    EXPECT_EQ(clone->Tell(), buffer->Tell());
    EXPECT_EQ(BufferBytes(*clone), BufferBytes(*buffer));
}

// The sequential fixed-point reads repeat the previous field at the very end
// of a buffer instead of failing; this pins that long-standing behaviour.
TEST(BigEndianBuffer, SequentialFixedReadsRepeatAtTheEnd) {
    auto buffer = HexBuffer("4000 c000 0001 8000");
    Fixed2_14 value;
    ASSERT_TRUE(buffer->GetFixed2_14(value));
    EXPECT_EQ(value.ToDouble(), 1.0);
    ASSERT_TRUE(buffer->GetFixed2_14(value));
    EXPECT_EQ(value.ToDouble(), -1.0);

    buffer->Seek(7);  // one byte left: the position stays, bytes 5..6 are read
    ASSERT_TRUE(buffer->GetFixed2_14(value));
    EXPECT_EQ(value.GetRaw(), 0x0180);
    EXPECT_EQ(buffer->Tell(), 7u);

    buffer->Seek(8);
    Fixed16_16 wide;
    ASSERT_TRUE(buffer->GetFixed16_16(wide));
    EXPECT_EQ(wide.GetRaw(), 0x00018000);
    buffer->Seek(9);  // past the length: the only failure
    EXPECT_FALSE(buffer->GetFixed16_16(wide));

    BigEndianBuffer writer;
    writer.SetFixed16_16(Fixed16_16(-0.5));
    writer.SetFixed2_14(Fixed2_14(0.5));
    EXPECT_EQ(BufferBytes(writer), HexBytes("ffff8000 2000"));
}

TEST(BigEndianBuffer, PascalStrings) {
    BigEndianBuffer buffer;
    EXPECT_TRUE(buffer.WritePascalString(Utf8String("abc")));
    EXPECT_EQ(BufferBytes(buffer), HexBytes("03 616263"));
    EXPECT_EQ(buffer.Tell(), 4u);

    const std::string longest(255, 'x');
    EXPECT_TRUE(buffer.WritePascalString(Utf8String(longest.c_str())));
    EXPECT_EQ(buffer.GetLength(), 4u + 256u);
    const std::string tooLong(256, 'x');
    EXPECT_FALSE(buffer.WritePascalString(Utf8String(tooLong.c_str())));
    EXPECT_EQ(buffer.GetLength(), 4u + 256u);

    // The position moves by the string's size from where it stood, not from
    // the offset that was read.
    buffer.Seek(100);
    Utf8String text;
    ASSERT_TRUE(buffer.ReadPascalString(0, text));
    EXPECT_EQ(text, "abc");
    EXPECT_EQ(buffer.Tell(), 104u);

    auto truncated = HexBuffer("05 6162");
    EXPECT_FALSE(truncated->ReadPascalString(0, text));
    EXPECT_FALSE(truncated->ReadPascalString(3, text));
}

TEST(Tags, TextFormsRoundTrip) {
    EXPECT_EQ(TagToString(MakeTag("head")), "head");
    EXPECT_EQ(TagToString(MakeTag("cvt ")), "cvt ");
    EXPECT_EQ(TagToString(0x004F5332), "\\x00OS2");
    EXPECT_EQ(TagToString(0x0A7F41FF), "\\x0a\\x7fA\\xff");
    EXPECT_EQ(StringToTag(Utf8String("\\x00OS2")), 0x004F5332u);
    EXPECT_EQ(StringToTag(Utf8String("abc")), 0x61626300u);
    EXPECT_EQ(StringToTag(Utf8String("")), 0u);
    for (unsigned int tag : {MakeTag("GSUB"), 0x00000000u, 0x01020304u, 0x7E7F2021u}) {
        EXPECT_EQ(StringToTag(TagToString(tag)), tag) << std::hex << tag;
    }
}

// A raw text byte of 0x80 or more counts as signed and borrows one from the
// slot above it; kept so tags read back as they always have.
TEST(Tags, HighTextBytesBorrowFromTheSlotAbove) {
    const char text[] = {'a', 'b', 'c', static_cast<char>(0x80), 0};
    EXPECT_EQ(StringToTag(Utf8String(text)), 0x61626280u);
}

TEST(Util, BinarySearchFields) {
    EXPECT_EQ(Util::MaxPower2LE(0), 0);
    EXPECT_EQ(Util::MaxPower2LE(1), 1);
    EXPECT_EQ(Util::MaxPower2LE(20), 16);
    EXPECT_EQ(Util::MaxPower2LE(65535), 32768);
    EXPECT_EQ(Util::Log2(0), 0);
    EXPECT_EQ(Util::Log2(1), 0);
    EXPECT_EQ(Util::Log2(16), 4);
    EXPECT_EQ(Util::Log2(17), 4);
}
