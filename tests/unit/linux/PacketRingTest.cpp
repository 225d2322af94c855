#include "PacketRing.h"

#include <cstring>
#include <deque>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

struct Record {
  std::uint32_t seconds;
  std::uint32_t microseconds;
  std::uint32_t length;
  std::string kept;
  bool operator==(const Record&) const = default;
};

std::vector<Record> RecordsOf(const PacketRing& ring) {
  std::string content;
  for (const PacketRing::Bytes piece : ring.Pieces()) {
    content.append(piece.begin(), piece.end());
  }
  EXPECT_EQ(content.size(), ring.Size());
  std::vector<Record> records;
  for (std::size_t at = 0; at < content.size();) {
    std::uint32_t header[4];
    if (at + sizeof header > content.size()) {
      ADD_FAILURE() << "half a header at the end";
      break;
    }
    std::memcpy(header, content.data() + at, sizeof header);
    at += sizeof header;
    records.push_back({header[0], header[1], header[3], content.substr(at, header[2])});
    at += header[2];
  }
  EXPECT_EQ(records.size(), ring.Packets());
  return records;
}

void Push(PacketRing& ring, const Record& record) {
  ring.Push({static_cast<time_t>(record.seconds), static_cast<suseconds_t>(record.microseconds)},
            {reinterpret_cast<const std::uint8_t*>(record.kept.data()), record.kept.size()},
            record.length);
}

Record Packet(std::uint32_t number, std::size_t size) {
  return {number, number + 1, static_cast<std::uint32_t>(size) + 7,
          std::string(size, static_cast<char>('a' + number % 26))};
}

}  // namespace

TEST(PacketRing, ANewOneIsEmpty) {
  const PacketRing ring(100);
  EXPECT_EQ(ring.Size(), 0u);
  EXPECT_TRUE(RecordsOf(ring).empty());
}

TEST(PacketRing, APacketComesOutAsItWentIn) {
  PacketRing ring(100);
  const Record packet{1'700'000'000, 999'999, 1514, std::string("\0\1\xff", 3)};
  Push(ring, packet);
  EXPECT_EQ(RecordsOf(ring), std::vector{packet});
  EXPECT_EQ(ring.Size(), PacketRing::kRecordHeaderBytes + 3);
}

TEST(PacketRing, APacketWithoutBytesIsOne) {
  PacketRing ring(100);
  ring.Push({1, 2}, {}, 60);
  EXPECT_EQ(RecordsOf(ring), (std::vector{Record{1, 2, 60, ""}}));
}

TEST(PacketRing, IsFilledToTheLastByte) {
  PacketRing ring(3 * (PacketRing::kRecordHeaderBytes + 10));
  for (std::uint32_t i = 0; i < 3; ++i) {
    Push(ring, Packet(i, 10));
  }
  EXPECT_EQ(RecordsOf(ring), (std::vector{Packet(0, 10), Packet(1, 10), Packet(2, 10)}));
  Push(ring, Packet(3, 10));
  EXPECT_EQ(RecordsOf(ring), (std::vector{Packet(1, 10), Packet(2, 10), Packet(3, 10)}));
}

TEST(PacketRing, ALargePacketPushesOutAsManyAsItNeeds) {
  PacketRing ring(3 * (PacketRing::kRecordHeaderBytes + 10));
  for (std::uint32_t i = 0; i < 3; ++i) {
    Push(ring, Packet(i, 10));
  }
  Push(ring, Packet(3, 11));
  EXPECT_EQ(RecordsOf(ring), (std::vector{Packet(2, 10), Packet(3, 11)}));
}

TEST(PacketRing, APacketAsLargeAsTheRingStandsAlone) {
  PacketRing ring(100);
  Push(ring, Packet(0, 10));
  Push(ring, Packet(1, 100 - PacketRing::kRecordHeaderBytes));
  EXPECT_EQ(RecordsOf(ring), std::vector{Packet(1, 100 - PacketRing::kRecordHeaderBytes)});
}

TEST(PacketRing, APacketLargerThanTheRingIsLeftOut) {
  PacketRing ring(100);
  Push(ring, Packet(0, 10));
  Push(ring, Packet(1, 101 - PacketRing::kRecordHeaderBytes));
  EXPECT_EQ(RecordsOf(ring), std::vector{Packet(0, 10)});
}

// Against a list of whole packets, with the border of the memory at every place of a header in time.
TEST(PacketRing, KeepsTheNewestOfAnySequence) {
  constexpr std::size_t kCapacity = 997;
  PacketRing ring(kCapacity);
  std::deque<Record> expected;
  std::size_t size = 0;
  std::mt19937 random(4711);
  std::uniform_int_distribution<std::size_t> sizes(0, 120);
  for (std::uint32_t i = 0; i < 20'000; ++i) {
    const Record packet = Packet(i, sizes(random));
    Push(ring, packet);
    expected.push_back(packet);
    size += PacketRing::kRecordHeaderBytes + packet.kept.size();
    while (size > kCapacity) {
      size -= PacketRing::kRecordHeaderBytes + expected.front().kept.size();
      expected.pop_front();
    }
    ASSERT_EQ(RecordsOf(ring), std::vector(expected.begin(), expected.end())) << "packet " << i;
  }
}
