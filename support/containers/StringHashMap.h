#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "support/base/ZorvenObject.h"
#include "support/buffers/StringBuffer.h"
#include "support/containers/EntryArena.h"

// Hash table keyed by text; keys are compared byte for byte. A value is either a text, copied in,
// or an object, which the map then owns and destroys with the entry. No lock of its own.
//
// The table grows by itself and its hash is keyed, so neither the number of entries nor the choice
// of their names makes it slow. Null C strings count as empty texts.
class StringHashMap : public ZorvenObject {
public:
    // An empty map with room for `capacity` entries; throws std::bad_alloc.
    explicit StringHashMap(int capacity);
    ~StringHashMap() override;

    // The same on the heap, the caller's; null when it cannot be made.
    static StringHashMap* createNewObject(int capacity) noexcept;

    // Adds an object and takes it over. False when `value` is null, the key is present or memory is
    // short: then the map is as it was and the object still the caller's.
    [[nodiscard]] bool hashInsertSb(const StringBuffer& key, NonRefCountedObj* value) noexcept;

    // Adds a copy of the text `value`. False when the key is present or memory is short: then the
    // map is as it was.
    [[nodiscard]] bool hashInsertString(const char* key, const char* value) noexcept;

    // The object under `key`, still the map's; null when the key is absent or holds a text.
    NonRefCountedObj* hashLookupSb(const StringBuffer& key) const noexcept;

    // Appends the text under `key` to `value`. False, with `value` untouched, when the key is
    // absent or holds an object. Throws std::bad_alloc.
    [[nodiscard]] bool hashLookupString(const char* key, StringBuffer& value) const;

    bool hashContains(const char* key) const noexcept;

    // Removes the entry under `key`, if there is one, and destroys its object.
    void hashDelete(const char* key) noexcept;

private:
    // Followed in memory by the key, then by the text. An entry with an object has no text.
    struct Entry {
        NonRefCountedObj* object;
        unsigned int keySize, textSize;

        std::string_view key() const noexcept;
        std::string_view text() const noexcept;
        std::size_t bytes() const noexcept { return sizeof(Entry) + keySize + textSize; }
    };
    // Empty when it has no entry. Collisions go to the next free slot.
    struct Slot {
        std::uint64_t hash;
        Entry* entry;
    };

    bool insert(std::string_view key, NonRefCountedObj* object, std::string_view text) noexcept;
    Entry* makeEntry(std::string_view key, NonRefCountedObj* object, std::string_view text);
    // The slot that holds `key`, or the empty one where it belongs.
    std::size_t slotOf(std::string_view key, std::uint64_t hash) const noexcept;
    const Entry* find(std::string_view key) const noexcept;
    void grow();
    void closeGapAt(std::size_t gap) noexcept;

    std::vector<Slot> m_slots;  // a power of two of them, never full
    std::size_t m_used = 0;
    certstore::EntryArena m_arena;
};
