#include "support/containers/StringHashMap.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <new>

#include "support/containers/SipHash.h"

using certstore::keyedHash;

namespace {

// A longer first size than this gains nothing: the table grows to it soon enough.
constexpr int kMaxFirstCapacity = 1 << 20;

std::string_view viewOf(const char* text) noexcept {
    return text ? std::string_view(text) : std::string_view();
}

// Linear probing stays short up to seven eighths.
constexpr std::size_t usableSlots(std::size_t slots) noexcept {
    return slots - slots / 8;
}

}  // namespace

std::string_view StringHashMap::Entry::key() const noexcept {
    return {reinterpret_cast<const char*>(this + 1), keySize};
}

std::string_view StringHashMap::Entry::text() const noexcept {
    return {reinterpret_cast<const char*>(this + 1) + keySize, textSize};
}

StringHashMap::StringHashMap(int capacity) {
    const auto wanted = static_cast<std::size_t>(std::clamp(capacity, 8, kMaxFirstCapacity));
    m_slots.resize(std::bit_ceil(wanted + wanted / 7 + 1));
}

StringHashMap::~StringHashMap() {
    for (const Slot& slot : m_slots) {
        if (!slot.entry)
            continue;
        ZorvenObject::deleteObject(slot.entry->object);
        m_arena.release(slot.entry, slot.entry->bytes());
    }
}

StringHashMap* StringHashMap::createNewObject(int capacity) noexcept {
    try {
        return new StringHashMap(capacity);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool StringHashMap::hashInsertSb(const StringBuffer& key, NonRefCountedObj* value) noexcept {
    return value && insert(key.view(), value, {});
}

bool StringHashMap::hashInsertString(const char* key, const char* value) noexcept {
    return insert(viewOf(key), nullptr, viewOf(value));
}

bool StringHashMap::insert(std::string_view key, NonRefCountedObj* object,
                           std::string_view text) noexcept {
    try {
        const std::uint64_t hash = keyedHash(key);
        if (m_slots[slotOf(key, hash)].entry)
            return false;
        if (m_used >= usableSlots(m_slots.size()))
            grow();
        Entry* entry = makeEntry(key, object, text);
        m_slots[slotOf(key, hash)] = {hash, entry};
        ++m_used;
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

StringHashMap::Entry* StringHashMap::makeEntry(std::string_view key, NonRefCountedObj* object,
                                               std::string_view text) {
    constexpr std::size_t kMax = std::numeric_limits<unsigned int>::max();
    if (key.size() > kMax || text.size() > kMax)
        throw std::bad_alloc();
    void* block = m_arena.allocate(sizeof(Entry) + key.size() + text.size());
    auto* entry = new (block) Entry{object, static_cast<unsigned int>(key.size()),
                                    static_cast<unsigned int>(text.size())};
    char* tail = reinterpret_cast<char*>(entry + 1);
    std::copy_n(key.data(), key.size(), tail);
    std::copy_n(text.data(), text.size(), tail + key.size());
    return entry;
}

std::size_t StringHashMap::slotOf(std::string_view key, std::uint64_t hash) const noexcept {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t at = hash & mask;
    while (m_slots[at].entry && (m_slots[at].hash != hash || m_slots[at].entry->key() != key))
        at = (at + 1) & mask;
    return at;
}

const StringHashMap::Entry* StringHashMap::find(std::string_view key) const noexcept {
    return m_slots[slotOf(key, keyedHash(key))].entry;
}

void StringHashMap::grow() {
    std::vector<Slot> larger(m_slots.size() * 2);
    const std::size_t mask = larger.size() - 1;
    for (const Slot& slot : m_slots) {
        if (!slot.entry)
            continue;
        std::size_t at = slot.hash & mask;
        while (larger[at].entry)
            at = (at + 1) & mask;
        larger[at] = slot;
    }
    m_slots.swap(larger);
}

NonRefCountedObj* StringHashMap::hashLookupSb(const StringBuffer& key) const noexcept {
    const Entry* entry = find(key.view());
    return entry ? entry->object : nullptr;
}

bool StringHashMap::hashLookupString(const char* key, StringBuffer& value) const {
    const Entry* entry = find(viewOf(key));
    if (!entry || entry->object)
        return false;
    value.append(entry->text());
    return true;
}

bool StringHashMap::hashContains(const char* key) const noexcept {
    return find(viewOf(key)) != nullptr;
}

void StringHashMap::hashDelete(const char* key) noexcept {
    const std::string_view wanted = viewOf(key);
    const std::size_t at = slotOf(wanted, keyedHash(wanted));
    Entry* entry = m_slots[at].entry;
    if (!entry)
        return;
    m_slots[at].entry = nullptr;
    closeGapAt(at);
    --m_used;
    ZorvenObject::deleteObject(entry->object);
    m_arena.release(entry, entry->bytes());
}

// Moves later members of the run into the gap, as far as that does not put them in front of the
// slot where their search begins.
void StringHashMap::closeGapAt(std::size_t gap) noexcept {
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t at = (gap + 1) & mask; m_slots[at].entry; at = (at + 1) & mask) {
        const std::size_t fromHome = (at - (m_slots[at].hash & mask)) & mask;
        const std::size_t fromGap = (at - gap) & mask;
        if (fromHome < fromGap)
            continue;
        m_slots[gap] = m_slots[at];
        m_slots[at].entry = nullptr;
        gap = at;
    }
}
