#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "support/base/ZorvenObject.h"
#include "support/buffers/StringBuffer.h"
#include "support/containers/EntryArena.h"
#include "support/containers/SipHash.h"

// Hash table keyed by text; keys are compared byte for byte. A value is a text, copied in; an
// object, which the map then owns and destroys with the entry; or an object of somebody else's that
// outlives the map, such as one that another map owns. No lock of its own.
//
// The table grows by itself and its hash is keyed, so neither the number of entries nor the choice
// of their names makes it slow. Null C strings count as empty texts.
class StringHashMap : public ZorvenObject {
public:
    // A borrowed text and its hash, which is the same in every map: for who needs it more often
    // than once.
    struct Key {
        Key(std::string_view keyText) noexcept
            : text(keyText), hash(certstore::keyedHash(keyText)) {}

        std::string_view text;
        std::uint64_t hash;
    };

    // An empty map with room for `capacity` entries; throws std::bad_alloc.
    explicit StringHashMap(int capacity);
    ~StringHashMap() override;

    // The same on the heap, the caller's; null when it cannot be made.
    static StringHashMap* createNewObject(int capacity) noexcept;

    // Adds an object and takes it over. False when `value` is null, the key is present or memory is
    // short: then the map is as it was and the object still the caller's.
    [[nodiscard]] bool hashInsertSb(const StringBuffer& key, NonRefCountedObj* value) noexcept;
    [[nodiscard]] bool insertOwned(const Key& key, NonRefCountedObj* value) noexcept;

    // Adds a copy of the text `value`. False when the key is present or memory is short: then the
    // map is as it was.
    [[nodiscard]] bool hashInsertString(const char* key, const char* value) noexcept;
    [[nodiscard]] bool insertText(const Key& key, std::string_view value) noexcept;

    // Lets `key` lead to an object that stays its owner's, unless the key is present: then it keeps
    // what it has. False only when memory is short; the map is then as it was.
    [[nodiscard]] bool insertSharedIfAbsent(const Key& key, NonRefCountedObj& value) noexcept;

    // The object under `key`, its owner's as before; null when the key is absent or holds a text.
    NonRefCountedObj* hashLookupSb(const StringBuffer& key) const noexcept;
    NonRefCountedObj* lookup(const Key& key) const noexcept;

    // Appends the text under `key` to `value`. False, with `value` untouched, when the key is
    // absent or holds an object. Throws std::bad_alloc.
    [[nodiscard]] bool hashLookupString(const char* key, StringBuffer& value) const;

    // The text under `key`, valid as long as the entry; empty when the key is absent or holds an
    // object.
    std::string_view lookupText(const Key& key) const noexcept;

    bool hashContains(const char* key) const noexcept;
    bool contains(const Key& key) const noexcept;

    // Removes the entry under `key`, if there is one, and destroys an object that the map owns.
    void hashDelete(const char* key) noexcept;
    void remove(const Key& key) noexcept;

private:
    enum class Owner : bool { Map, Other };

    // What an entry holds: an object, or a text where that is null.
    struct Value {
        NonRefCountedObj* object = nullptr;
        Owner owner = Owner::Map;
        std::string_view text = {};
    };
    // Followed in memory by the key, then by the text.
    struct Entry {
        NonRefCountedObj* object;
        std::uint32_t keySize;
        std::uint32_t textSize : 31;
        std::uint32_t ownsObject : 1;

        std::string_view key() const noexcept;
        std::string_view text() const noexcept;
        std::size_t bytes() const noexcept { return sizeof(Entry) + keySize + textSize; }
    };
    // Empty when it has no entry. Collisions go to the next free slot.
    struct Slot {
        std::uint64_t hash;
        Entry* entry;
    };
    enum class Insertion { Done, Present, NoMemory };

    Insertion insert(const Key& key, const Value& value) noexcept;
    Entry* makeEntry(std::string_view key, const Value& value);
    void destroyEntry(Entry* entry) noexcept;
    // The slot that holds `key`, or the empty one where it belongs.
    std::size_t slotOf(const Key& key) const noexcept;
    const Entry* find(const Key& key) const noexcept { return m_slots[slotOf(key)].entry; }
    void grow();
    void closeGapAt(std::size_t gap) noexcept;

    std::vector<Slot> m_slots;  // a power of two of them, never full
    std::size_t m_used = 0;
    certstore::EntryArena m_arena;
};
