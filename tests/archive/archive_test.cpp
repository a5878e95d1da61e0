#include "archive/archive.h"

#include "support/archivetest.h"

namespace tarnvisor {
namespace {

using enum Archive::Direction;

template <class Work>
auto loaded(Bytes bytes, Work work) {
  MemoryStream memory(std::move(bytes));
  Archive archive(memory, Loading);
  return work(archive);
}

std::string refusal(Bytes bytes, const std::function<void(Archive&)>& work) {
  try {
    loaded(std::move(bytes), work);
  } catch (const ArchiveException& e) {
    return e.what();
  }
  return "";
}

Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

// A leaf holds a byte and counts those alive; a branch holds any object.
struct Leaf : ArchiveObject {
  static inline int alive = 0;
  uint8_t value = 0;
  explicit Leaf(uint8_t v = 0) : value(v) { ++alive; }
  Leaf(const Leaf& other) : ArchiveObject(other), value(other.value) { ++alive; }
  ~Leaf() override { --alive; }
  static const ArchiveClass& archiveClass() {
    static const ArchiveClass record{"Leaf", 3, nullptr,
                                     [] { return std::unique_ptr<ArchiveObject>(new Leaf); }};
    return record;
  }
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  void serialize(Archive& archive) override {
    if (archive.isStoring())
      archive.putByte(value);
    else
      value = archive.getByte();
  }
};

struct Branch : Leaf {
  ArchiveObject* child = nullptr;
  std::unique_ptr<ArchiveObject> owned;
  static const ArchiveClass& archiveClass() {
    static const ArchiveClass record{"Branch", 1, &Leaf::archiveClass(),
                                     [] { return std::unique_ptr<ArchiveObject>(new Branch); }};
    return record;
  }
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  void serialize(Archive& archive) override {
    if (archive.isStoring()) return archive.writeObject(child);
    auto got = archive.readObject(nullptr);
    owned = std::move(got.fresh);
    child = got.object;
  }
};

const Bytes leafRecord{0xFF, 0xFF, 3, 0, 4, 0, 'L', 'e', 'a', 'f'};
const Bytes branchRecord{0xFF, 0xFF, 1, 0, 6, 0, 'B', 'r', 'a', 'n', 'c', 'h'};

class ArchiveObjects : public testing::Test {
 protected:
  void SetUp() override {
    registerArchiveClass(Leaf::archiveClass());
    registerArchiveClass(Branch::archiveClass());
  }
  ~ArchiveObjects() override { EXPECT_EQ(Leaf::alive, 0); }
};

TEST(ArchiveNumbers, AreLittleEndianWithoutPadding) {
  const Bytes bytes = storedBy([](Archive& a) {
    a.putByte(0xFE);
    a.putWord(0x1234);
    a.putShort(-2);
    a.putDword(0x89ABCDEF);
    a.putInt(-3);
    a.putFloat(1.5f);
    a.putDouble(-2.0);
    a.putPoint({1, -1});
    a.putRect({1, 2, 3, 4});
  });
  EXPECT_EQ(bytes, (Bytes{0xFE, 0x34, 0x12, 0xFE, 0xFF, 0xEF, 0xCD, 0xAB, 0x89, 0xFD, 0xFF, 0xFF, 0xFF,
                          0,    0,    0xC0, 0x3F, 0,    0,    0,    0,    0,    0,    0,    0xC0, 1,
                          0,    0,    0,    0xFF, 0xFF, 0xFF, 0xFF, 1,    0,    0,    0,    2,    0,
                          0,    0,    3,    0,    0,    0,    4,    0,    0,    0}));
  loaded(bytes, [](Archive& a) {
    EXPECT_EQ(a.getByte(), 0xFE);
    EXPECT_EQ(a.getWord(), 0x1234);
    EXPECT_EQ(a.getShort(), -2);
    EXPECT_EQ(a.getDword(), 0x89ABCDEFu);
    EXPECT_EQ(a.getInt(), -3);
    EXPECT_EQ(a.getFloat(), 1.5f);
    EXPECT_EQ(a.getDouble(), -2.0);
    EXPECT_EQ(a.getPoint(), (Point{1, -1}));
    EXPECT_EQ(a.getRect(), (Rect{1, 2, 3, 4}));
    EXPECT_EQ(a.remaining(), 0u);
    EXPECT_THROW(a.getByte(), ArchiveException);
  });
}

TEST(ArchiveText, TakesTheShortestPrefixAndReadsEveryForm) {
  const std::pair<size_t, Bytes> cases[] = {
      {0, {0}},
      {254, {254}},
      {255, {0xFF, 0xFF, 0x00}},
      {65533, {0xFF, 0xFD, 0xFF}},
      {65534, {0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0x00, 0x00}},
      {65535, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00}},
  };
  for (const auto& [length, prefix] : cases) {
    const std::string text(length, 'x');
    EXPECT_EQ(storedBy([&](Archive& a) { a.writeString(text); }), prefix + Bytes(length, 'x')) << length;
    EXPECT_EQ(loaded(prefix + Bytes(length, 'x'), [](Archive& a) { return a.readString(); }), text);
  }
  const auto read = [](Bytes bytes) { return loaded(bytes, [](Archive& a) { return a.readString(); }); };
  EXPECT_EQ(read({0xFF, 2, 0, 'a', 'b'}), "ab");
  EXPECT_EQ(read({0xFF, 0xFF, 0xFF, 2, 0, 0, 0, 'a', 'b'}), "ab");
  EXPECT_EQ(read({0xFF, 0xFE, 0xFF, 3, 'a', 0, 0xE9, 0, 0x3B, 0x04}), "a\xE9?");
  EXPECT_EQ(read({0xFF, 0xFE, 0xFF, 0xFF, 1, 0, 'a', 0}), "a");
}

TEST(ArchiveText, LongerThanTheFileOrTwiceWideIsRefused) {
  const auto read = [](Archive& a) { a.readString(); };
  EXPECT_EQ(refusal({3, 'a', 'b'}, read), "the file ends too early");
  EXPECT_EQ(refusal({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 'a'}, read), "the file ends too early");
  EXPECT_EQ(refusal({0xFF, 0xFE, 0xFF, 2, 'a', 0, 'b'}, read), "the file ends too early");
  EXPECT_EQ(refusal({0xFF, 0xFE, 0xFF, 0xFF, 0xFE, 0xFF, 1, 'a', 0}, read), "a text is damaged");
}

TEST(ArchiveCounts, ChangeFormAt65535) {
  const std::pair<uint64_t, Bytes> cases[] = {{0, {0, 0}},
                                              {65534, {0xFE, 0xFF}},
                                              {65535, {0xFF, 0xFF, 0xFF, 0xFF, 0, 0}},
                                              {0xFFFFFFFF, {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}};
  for (const auto& [count, bytes] : cases) {
    EXPECT_EQ(storedBy([&](Archive& a) { a.writeCount(count); }), bytes);
    EXPECT_EQ(loaded(bytes, [](Archive& a) { return a.readCount(); }), count);
  }
  EXPECT_THROW(storedBy([](Archive& a) { a.writeCount(0x100000000); }), ArchiveException);
}

TEST(ArchiveValues, AShortArrayIsAnExceptionBeforeMemoryIsTaken) {
  std::vector<int32_t> values;
  EXPECT_EQ(refusal({2, 0, 1, 0, 0, 0, 2, 0, 0}, [&](Archive& a) { a.readValues(values); }),
            "the file ends too early");
  EXPECT_NE(refusal({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}, [&](Archive& a) { a.readValues(values); }), "");
  EXPECT_EQ(values.capacity(), 0u);
  loaded({2, 0, 1, 0, 0, 0, 2, 0, 0, 0}, [&](Archive& a) { a.readValues(values); });
  EXPECT_EQ(values, (std::vector<int32_t>{1, 2}));
}

struct CountingStream : ByteStream {
  MemoryStream memory;
  std::vector<size_t> reads, writes;
  size_t read(void* bytes, size_t count) override {
    reads.push_back(count);
    return memory.read(bytes, count);
  }
  void write(const void* bytes, size_t count) override {
    writes.push_back(count);
    memory.write(bytes, count);
  }
  uint64_t remaining() const override { return memory.remaining(); }
};

TEST(ArchiveBuffer, CallsTheStreamOnceForAMillionValuesAndOnceFor4096Bytes) {
  std::vector<double> values(1'000'000);
  for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i);
  CountingStream stream;
  Archive out(stream, Storing);
  out.writeValues<double>(values);
  for (int i = 0; i < 5000; ++i) out.putByte(static_cast<uint8_t>(i));
  out.close();
  EXPECT_EQ(stream.writes, (std::vector<size_t>{6, 8'000'000, 4096, 904}));

  Archive in(stream, Loading);
  std::vector<double> back;
  in.readValues(back);
  EXPECT_EQ(back, values);
  for (int i = 0; i < 5000; ++i) ASSERT_EQ(in.getByte(), static_cast<uint8_t>(i));
  EXPECT_EQ(stream.reads, (std::vector<size_t>{4096, 8'000'006 - 4096, 4096, 4096}));
}

TEST(ArchiveBuffer, BlocksOfEverySizePassUnchanged) {
  Bytes all(40000);
  for (size_t i = 0; i < all.size(); ++i) all[i] = static_cast<uint8_t>(i * 7 + i / 256);
  for (const size_t block : {1u, 3u, 4095u, 4096u, 4097u, 9000u}) {
    const Bytes bytes = storedBy([&](Archive& a) {
      for (size_t at = 0; at < all.size(); at += block)
        a.write(all.data() + at, std::min(block, all.size() - at));
    });
    EXPECT_EQ(bytes, all) << block;
    Bytes back(all.size() + 10);
    loaded(bytes, [&](Archive& a) {
      size_t at = 0;
      while (at < all.size()) at += a.read(back.data() + at, block);
      EXPECT_EQ(a.read(back.data(), 5), 0u);
    });
    back.resize(all.size());
    EXPECT_EQ(back, all) << block;
  }
}

TEST(ArchiveBuffer, BytesJustReadCanBeGivenBackAcrossItsEdge) {
  Bytes bytes(4100, 0);
  for (size_t i = 4092; i < 4100; ++i) bytes[i] = static_cast<uint8_t>(i - 4091);
  loaded(bytes, [](Archive& a) {
    for (int i = 0; i < 4092; ++i) a.getByte();
    a.getWord();
    EXPECT_EQ(a.getDword(), 0x06050403u);
    a.stepBack(6);
    EXPECT_EQ(a.getDword(), 0x04030201u);
    EXPECT_EQ(a.remaining(), 4u);
    EXPECT_THROW(a.stepBack(9), ArchiveException);
  });
}

TEST_F(ArchiveObjects, AreStoredOnceAndNumberedInTheOrderMet) {
  Leaf one(11), two(22);
  const Bytes bytes = storedBy([&](Archive& a) {
    for (Leaf* leaf : {&one, &two, &one, static_cast<Leaf*>(nullptr)}) a.writeObject(leaf);
  });
  EXPECT_EQ(bytes, leafRecord + (Bytes{11, 0x01, 0x80, 22, 2, 0, 0, 0}));
  loaded(bytes, [](Archive& a) {
    const auto first = a.readObject(&Leaf::archiveClass());
    const auto second = a.readOwned<Leaf>();
    const auto again = a.readObject(nullptr);
    EXPECT_EQ(static_cast<Leaf*>(first.object)->value, 11);
    EXPECT_EQ(second->value, 22);
    EXPECT_EQ(again.object, first.object);
    EXPECT_EQ(again.fresh, nullptr);
    EXPECT_EQ(a.readOwned<Leaf>(), nullptr);
  });
}

TEST_F(ArchiveObjects, AnObjectIsNumberedBeforeThoseInItsBody) {
  Branch outer, inner;
  outer.child = &inner;
  inner.child = &outer;  // a ring
  const Bytes bytes = storedBy([&](Archive& a) { a.writeObject(&outer); });
  EXPECT_EQ(bytes, branchRecord + (Bytes{0x01, 0x80, 2, 0}));
  loaded(bytes, [](Archive& a) {
    const auto got = a.readOwned<Branch>();
    EXPECT_EQ(static_cast<Branch*>(got->child)->child, got.get());
  });
}

TEST_F(ArchiveObjects, NumbersFrom32767OnTakeTheBigTag) {
  constexpr size_t count = 33000;
  std::vector<Leaf> leaves(count);
  Branch late;
  const Bytes bytes = storedBy([&](Archive& a) {
    for (Leaf& leaf : leaves) a.writeObject(&leaf);
    a.writeObject(&leaves[0x7FFE - 2]);  // object numbers are 2 more than the index
    a.writeObject(&leaves[0x7FFF - 2]);
    late.child = nullptr;
    a.writeObject(&late);  // class 33002, object 33003
    Branch later;
    a.writeObject(&later);
  });
  const Bytes tail(bytes.end() - 2 - 6 - 14 - 8, bytes.end());
  EXPECT_EQ(tail, (Bytes{0xFE, 0x7F, 0xFF, 0x7F, 0xFF, 0x7F, 0, 0} + branchRecord +
                   Bytes{0, 0, 0xFF, 0x7F, 0xEA, 0x80, 0, 0x80, 0, 0}));
  loaded(bytes, [&](Archive& a) {
    std::vector<Archive::Loaded> got;
    for (size_t i = 0; i < count; ++i) got.push_back(a.readObject(nullptr));
    EXPECT_EQ(a.readObject(nullptr).object, got[0x7FFE - 2].object);
    EXPECT_EQ(a.readObject(nullptr).object, got[0x7FFF - 2].object);
    EXPECT_NE(a.readOwned<Branch>(), nullptr);
    EXPECT_NE(a.readOwned<Branch>(), nullptr);
  });
}

TEST_F(ArchiveObjects, DamagedReferencesAreRefusedInWords) {
  const std::pair<Bytes, const char*> cases[] = {
      {{0xFF, 0xFF, 1, 0, 3, 0, 'X', 7, '%'}, "unknown class \"X?%\""},
      {{0xFF, 0xFF, 2, 0, 4, 0, 'L', 'e', 'a', 'f', 0}, "class \"Leaf\" has schema 2 instead of 3"},
      {{0xFF, 0xFF, 3, 0, 9, 0, 'L'}, "the file ends too early"},
      {{5, 0}, "number 5 is no object of this file"},
      {{0x05, 0x80}, "number 5 is no class of this file"},
      {{0x00, 0x80}, "number 0 is no class of this file"},
      {{0xFF, 0x7F, 9, 0, 0, 0}, "number 9 is no object of this file"},
      {{0xFF, 0x7F, 0xFF, 0xFF, 0xFF, 0xFF}, "number 2147483647 is no class of this file"},
      {{0xFF, 0x7F, 9, 0}, "the file ends too early"},
      {branchRecord + leafRecord + Bytes{7}, "a \"Branch\" stands where a \"Leaf\" belongs"},
  };
  const ArchiveClass other{"Leaf", 3, nullptr, nullptr};  // not the registered one
  for (const auto& [bytes, words] : cases) {
    const ArchiveClass* expected = words[0] == 'a' ? &other : nullptr;
    EXPECT_EQ(refusal(bytes, [&](Archive& a) { a.readObject(expected); }), words);
  }
}

TEST_F(ArchiveObjects, ThatAreClassesOrOwnedOrGoneAreNoAnswer) {
  const auto keepAndRead = [](Archive& a) {
    const auto keep = a.readOwned<Leaf>();
    a.readOwned<Leaf>();
  };
  const auto dropAndRead = [](Archive& a) {
    a.readOwned<Leaf>().reset();
    a.readObject(nullptr);
  };
  EXPECT_EQ(refusal(leafRecord + Bytes{7, 1, 0}, keepAndRead), "number 1 is no object of this file");
  EXPECT_EQ(refusal(leafRecord + Bytes{7, 2, 0x80}, keepAndRead), "number 2 is no class of this file");
  EXPECT_EQ(refusal(leafRecord + Bytes{7, 2, 0}, keepAndRead), "an object is owned twice");
  EXPECT_EQ(refusal(leafRecord + Bytes{7, 2, 0}, dropAndRead), "number 2 is no object of this file");
}

TEST_F(ArchiveObjects, OutliveTheirArchiveAndAreCopiedWithoutIt) {
  auto survivor = loaded(leafRecord + Bytes{7}, [](Archive& a) { return a.readOwned<Leaf>(); });
  const Leaf copy = *survivor;
  survivor.reset();
  EXPECT_EQ(copy.value, 7);
}

TEST_F(ArchiveObjects, NestAtMost64DeepAndLeakNothingWhenTheyDont) {
  Bytes deep = branchRecord;
  for (int i = 1; i < 64; ++i) deep = deep + Bytes{0x01, 0x80};
  EXPECT_EQ(refusal(deep + Bytes{0, 0}, [](Archive& a) { EXPECT_NE(a.readOwned<Branch>(), nullptr); }), "");
  EXPECT_EQ(refusal(deep + Bytes{0x01, 0x80, 0, 0}, [](Archive& a) { a.readOwned<Branch>(); }),
            "objects are nested too deeply");
  EXPECT_EQ(refusal(branchRecord + leafRecord, [](Archive& a) { a.readOwned<Branch>(); }),
            "the file ends too early");
}

TEST(ArchiveFiles, ReportAFullDiscInItsWords) {
  std::FILE* full = std::fopen("/dev/full", "wb");
  if (!full) GTEST_SKIP() << "no device that is always full";
  FileStream stream(full);
  Archive archive(stream, Storing);
  archive.putInt(1);
  try {
    archive.close();
    ADD_FAILURE();
  } catch (const ArchiveException& e) {
    EXPECT_EQ(e.what(), std::string("writing failed: No space left on device"));
  }
  std::fclose(full);
}

}  // namespace
}  // namespace tarnvisor
