#include "support/containers/StringHashMap.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <new>

namespace {

// A longer first size than this gains nothing: the table grows to it soon enough.
constexpr int kMaxFirstCapacity = 1 << 20;

// Entries keep sizes in 31 bits.
constexpr std::uint32_t kMaxTextSize = std::numeric_limits<std::int32_t>::max();

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
    for (const Slot& slot : m_slots)
        if (slot.entry)
            destroyEntry(slot.entry);
}

StringHashMap* StringHashMap::createNewObject(int capacity) noexcept {
    try {
        return new StringHashMap(capacity);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

bool StringHashMap::hashInsertSb(const StringBuffer& key, NonRefCountedObj* value) noexcept {
    return insertOwned(key.view(), value);
}

bool StringHashMap::insertOwned(const Key& key, NonRefCountedObj* value) noexcept {
    return value && insert(key, {.object = value}) == Insertion::Done;
}

bool StringHashMap::hashInsertString(const char* key, const char* value) noexcept {
    return insertText(viewOf(key), viewOf(value));
}

bool StringHashMap::insertText(const Key& key, std::string_view value) noexcept {
    return insert(key, {.text = value}) == Insertion::Done;
}

bool StringHashMap::insertSharedIfAbsent(const Key& key, NonRefCountedObj& value) noexcept {
    return insert(key, {.object = &value, .owner = Owner::Other}) != Insertion::NoMemory;
}

StringHashMap::Insertion StringHashMap::insert(const Key& key, const Value& value) noexcept {
    try {
        std::size_t slot = slotOf(key);
        if (m_slots[slot].entry)
            return Insertion::Present;
        if (m_used >= usableSlots(m_slots.size())) {
            grow();
            slot = slotOf(key);
        }
        m_slots[slot] = {key.hash, makeEntry(key.text, value)};
        ++m_used;
        return Insertion::Done;
    } catch (const std::bad_alloc&) {
        return Insertion::NoMemory;
    }
}

StringHashMap::Entry* StringHashMap::makeEntry(std::string_view key, const Value& value) {
    const std::string_view text = value.text;
    if (key.size() > kMaxTextSize || text.size() > kMaxTextSize)
        throw std::bad_alloc();
    void* block = m_arena.allocate(sizeof(Entry) + key.size() + text.size());
    auto* entry = new (block)
        Entry{value.object, static_cast<std::uint32_t>(key.size()),
              static_cast<std::uint32_t>(text.size()) & kMaxTextSize, value.owner == Owner::Map};
    char* tail = reinterpret_cast<char*>(entry + 1);
    std::copy_n(key.data(), key.size(), tail);
    std::copy_n(text.data(), text.size(), tail + key.size());
    return entry;
}

void StringHashMap::destroyEntry(Entry* entry) noexcept {
    if (entry->ownsObject)
        ZorvenObject::deleteObject(entry->object);
    m_arena.release(entry, entry->bytes());
}

std::size_t StringHashMap::slotOf(const Key& key) const noexcept {
    const std::size_t mask = m_slots.size() - 1;
    std::size_t at = key.hash & mask;
    while (m_slots[at].entry
           && (m_slots[at].hash != key.hash || m_slots[at].entry->key() != key.text))
        at = (at + 1) & mask;
    return at;
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
    return lookup(key.view());
}

NonRefCountedObj* StringHashMap::lookup(const Key& key) const noexcept {
    const Entry* entry = find(key);
    return entry ? entry->object : nullptr;
}

bool StringHashMap::hashLookupString(const char* key, StringBuffer& value) const {
    const Entry* entry = find(viewOf(key));
    if (!entry || entry->object)
        return false;
    value.append(entry->text());
    return true;
}

std::string_view StringHashMap::lookupText(const Key& key) const noexcept {
    const Entry* entry = find(key);
    return entry ? entry->text() : std::string_view();
}

bool StringHashMap::hashContains(const char* key) const noexcept {
    return contains(viewOf(key));
}

bool StringHashMap::contains(const Key& key) const noexcept {
    return find(key) != nullptr;
}

void StringHashMap::hashDelete(const char* key) noexcept {
    remove(viewOf(key));
}

void StringHashMap::remove(const Key& key) noexcept {
    const std::size_t at = slotOf(key);
    Entry* entry = m_slots[at].entry;
    if (!entry)
        return;
    m_slots[at].entry = nullptr;
    closeGapAt(at);
    --m_used;
    destroyEntry(entry);
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
