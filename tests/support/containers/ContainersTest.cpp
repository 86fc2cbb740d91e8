#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/containers/ExtPtrArray.h"
#include "support/containers/StringHashMap.h"

namespace {

class Counted : public NonRefCountedObj {
public:
    explicit Counted(int value = 0) : m_value(value) { ++s_alive; }
    ~Counted() override { --s_alive; }
    int m_value;
    static inline int s_alive = 0;
};

StringBuffer* newText(int number) {
    return StringBuffer::createNewSB(std::to_string(number).c_str());
}

TEST(ExtPtrArray, OwnsItsElementsInOrder) {
    {
        ExtPtrArray array;
        for (int i = 0; i < 1000; ++i)
            array.appendObject(new Counted(i));
        array.appendObject(nullptr);
        EXPECT_EQ(Counted::s_alive, 1000);
        EXPECT_EQ(array.getSize(), 1001);
        for (int i = 0; i < 1000; ++i)
            ASSERT_EQ(static_cast<Counted*>(array.elementAt(i))->m_value, i);
        EXPECT_EQ(array.elementAt(1000), nullptr);
    }
    EXPECT_EQ(Counted::s_alive, 0);
}

TEST(ExtPtrArraySb, IsReadWhileItGrows) {
    constexpr int kCount = 5000;
    ExtPtrArraySb array;
    EXPECT_FALSE(array.appendSb(nullptr));
    std::thread writer([&array] {
        for (int i = 0; i < kCount; ++i)
            array.appendSb(newText(i));
    });
    for (int size = 0; size < kCount;) {
        size = array.getSize();
        if (size > 0) {
            ASSERT_STREQ(array.sbAt(size - 1)->getString(), std::to_string(size - 1).c_str());
        }
    }
    writer.join();
    EXPECT_EQ(array.sbAt(-1), nullptr);
    EXPECT_EQ(array.sbAt(kCount), nullptr);
}

TEST(StringHashMap, KeepsWhatItAcceptedAndNothingElse) {
    {
        StringHashMap map(400);
        StringBuffer key;
        key.append("SubjectKeyId:AB");
        auto* first = new Counted(1);
        EXPECT_FALSE(map.hashInsertSb(key, nullptr));
        ASSERT_TRUE(map.hashInsertSb(key, first));
        Counted refused(2);
        EXPECT_FALSE(map.hashInsertSb(key, &refused)) << "a key that is there keeps its value";
        EXPECT_EQ(map.hashLookupSb(key), first);
        EXPECT_FALSE(map.hashContains("SubjectKeyId:ab"));
        StringBuffer text;
        EXPECT_FALSE(map.hashLookupString("SubjectKeyId:AB", text)) << "an object is no text";
        EXPECT_TRUE(map.hashInsertString("", "") && map.hashLookupString("", text));
        EXPECT_FALSE(map.insertText({"long"}, {text.getString(), std::size_t{1} << 31}));
        const ZorvenOwner<StringHashMap> large(StringHashMap::createNewObject(INT_MAX));
        EXPECT_TRUE(large && large->hashInsertString("a", "b"));
        map.hashDelete("SubjectKeyId:AB");
        EXPECT_EQ(Counted::s_alive, 1) << "the map's value goes with its entry";
        EXPECT_EQ(map.hashLookupSb(key), nullptr);
        ASSERT_TRUE(map.hashInsertSb(key, new Counted(3)));
    }
    EXPECT_EQ(Counted::s_alive, 0);
}

TEST(StringHashMap, LeadsToWhatAnotherMapOwns) {
    {
        StringHashMap owner(8), index(8);
        auto *first = new Counted(1), *second = new Counted(2);
        ASSERT_TRUE(owner.insertOwned({"key 1"}, first));
        ASSERT_TRUE(owner.insertOwned({"key 2"}, second));
        for (int i = 0; i < 1000; ++i)
            ASSERT_TRUE(index.insertSharedIfAbsent({std::to_string(i)}, i % 2 ? *first : *second));
        EXPECT_TRUE(index.insertSharedIfAbsent({"7"}, *second));
        EXPECT_EQ(index.lookup({"7"}), first) << "a key that is there keeps its value";
        StringBuffer text;
        EXPECT_FALSE(index.hashLookupString("7", text)) << "an object is no text";
        EXPECT_TRUE(index.lookupText({"7"}).empty());
        index.remove({"7"});
        EXPECT_FALSE(index.contains({"7"}));
        EXPECT_EQ(Counted::s_alive, 2) << "what another owns outlives an entry that leads there";
    }
    EXPECT_EQ(Counted::s_alive, 0);
}

// The bytes of a text are taken in by eights, pairs of eights and blocks of 256: none of them may
// be left out, and none beside them read.
TEST(KeyedHash, DependsOnEveryByteAndTheLength) {
    std::set<std::uint64_t> met;
    std::size_t texts = 0;
    for (std::size_t size = 0; size < 600; size += size < 40 ? 1 : 13) {
        std::vector<char> text(size);
        met.insert(certstore::keyedHash({text.data(), size}));
        for (char& byte : text) {
            byte = 1;
            met.insert(certstore::keyedHash({text.data(), size}));
            byte = 0;
        }
        texts += size + 1;
        const std::string copy = "x" + std::string(text.data(), size);
        ASSERT_TRUE(met.contains(certstore::keyedHash(std::string_view(copy).substr(1))));
    }
    EXPECT_EQ(met.size(), texts);
}

// Random inserts and deletes beside std::map, over few keys, so that runs of collisions form and
// break.
TEST(StringHashMap, AgreesWithAnOrderedMap) {
    std::mt19937 random(1);
    StringHashMap map(1);
    std::map<std::string, std::string> model;
    for (int step = 0; step < 40000; ++step) {
        const std::string key(random() % 5 == 0 ? 1500 : 3, static_cast<char>('a' + random() % 26));
        const std::string full = key + std::to_string(random() % 40);
        if (random() % 2 == 0) {
            const std::string value = std::to_string(step);
            ASSERT_EQ(map.hashInsertString(full.c_str(), value.c_str()),
                      model.emplace(full, value).second);
        } else {
            map.hashDelete(full.c_str());
            model.erase(full);
        }
        ASSERT_EQ(map.hashContains(full.c_str()), model.count(full) == 1);
    }
    for (const auto& [key, value] : model) {
        StringBuffer found;
        ASSERT_TRUE(map.hashLookupString(key.c_str(), found));
        ASSERT_EQ(found.view(), value);
    }
}

}  // namespace
