#include <mutex>
#include <optional>
#include <shared_mutex>
#include <unordered_map>

#include "bench/peers/Peers.h"

namespace certbench {

namespace {

using Bytes = std::string_view;

// Steps over one value of well-formed DER. Lengths have at most two bytes.
struct Value {
    Bytes content, whole;
};
Value next(Bytes& rest) {
    const auto byteAt = [&rest](std::size_t i) { return static_cast<unsigned char>(rest[i]); };
    std::size_t header = 2, size = byteAt(1);
    if (size == 0x81) {
        header = 3;
        size = byteAt(2);
    } else if (size == 0x82) {
        header = 4;
        size = byteAt(2) * std::size_t{256} + byteAt(3);
    }
    const Value value{rest.substr(header, size), rest.substr(0, header + size)};
    rest.remove_prefix(header + size);
    return value;
}

struct Record {
    explicit Record(Bytes bytes);

    const std::string der;
    Bytes serial, issuer, subject, publicKey, subjectKeyId, authorityKeyId, email;

private:
    void readExtension(Bytes oid, Bytes value);
};

Record::Record(Bytes bytes) : der(bytes) {
    Bytes rest = der;
    Bytes certificate = next(rest).content;
    Bytes tbs = next(certificate).content;
    next(tbs);  // version
    serial = next(tbs).content;
    next(tbs);  // signature algorithm
    issuer = next(tbs).whole;
    next(tbs);  // validity
    subject = next(tbs).whole;
    publicKey = next(tbs).whole;
    Bytes outer = next(tbs).content;
    for (Bytes extensions = next(outer).content; !extensions.empty();) {
        Bytes extension = next(extensions).content;
        const Bytes oid = next(extension).content;
        if (extension[0] == 1)
            next(extension);  // critical
        readExtension(oid, next(extension).content);
    }
}

void Record::readExtension(Bytes oid, Bytes value) {
    const Bytes content = next(value).content;
    Bytes inner = content;
    if (oid == "\x55\x1d\x0e")
        subjectKeyId = content;
    if (oid == "\x55\x1d\x23")
        authorityKeyId = next(inner).content;
    if (oid == "\x55\x1d\x11")
        email = next(inner).content;
}

bool parse(ByteView der, FieldSink* fields) {
    const auto record = std::make_unique<Record>(certstore::textOf(der));
    if (!fields)
        return !record->email.empty();
    const auto take = [fields](Field field, Bytes value) {
        fields->take(field, std::string(value));  // a copy, which is what callers are given
    };
    take(Field::Subject, record->subject);
    take(Field::Issuer, record->issuer);
    take(Field::Serial, record->serial);
    take(Field::SubjectKeyId, record->subjectKeyId);
    take(Field::AuthorityKeyId, record->authorityKeyId);
    take(Field::Email, record->email);
    take(Field::PublicKey, record->publicKey);
    return true;
}

// What a search looks for; an issuer is found by its key identifier.
std::string keyOf(const Record& record, Search search) {
    switch (search) {
        case Search::Subject:
            return std::string(record.subject);
        case Search::SerialAndIssuer:
            return std::string(record.serial).append(record.issuer);
        case Search::SubjectKeyId:
            return std::string(record.subjectKeyId);
        case Search::Email:
            return std::string(record.email);
        default:
            return std::string(record.authorityKeyId);
    }
}

enum class Locking { None, Shared };

class FloorStore : public Store {
public:
    explicit FloorStore(Locking locking) {
        if (locking == Locking::Shared)
            m_mutex.emplace();
    }

    bool add(ByteView der) override {
        auto record = std::make_unique<Record>(certstore::textOf(der));
        const Record* const added = record.get();
        m_bySubject.try_emplace(keyOf(*added, Search::Subject), added);
        m_bySubjectKeyId.try_emplace(keyOf(*added, Search::SubjectKeyId), added);
        m_byEmail.try_emplace(keyOf(*added, Search::Email), added);
        m_bySerial.try_emplace(keyOf(*added, Search::SerialAndIssuer), added);
        m_records.push_back(std::move(record));
        return true;
    }

    void prepare(Search search, const std::vector<std::string>& wanted) override {
        m_search = search;
        m_queries.clear();
        for (const std::string& der : wanted)
            m_queries.push_back(keyOf(Record(der), search));
    }

    bool find(std::size_t query, std::string* found) override {
        std::shared_lock<std::shared_mutex> lock;
        if (m_mutex)
            lock = std::shared_lock(*m_mutex);
        const std::string& key = m_queries[query];
        const Record* record = findIn(indexOf(m_search), key);
        if (record && m_search == Search::Chain)
            record = climb(*record);
        if (record && found)
            *found = record->der;
        return record;
    }

private:
    using Index = std::unordered_map<std::string, const Record*>;

    const Index& indexOf(Search search) const {
        switch (search) {
            case Search::Subject:
                return m_bySubject;
            case Search::SerialAndIssuer:
                return m_bySerial;
            case Search::Email:
                return m_byEmail;
            default:
                return m_bySubjectKeyId;
        }
    }

    static const Record* findIn(const Index& index, const std::string& key) {
        const auto at = index.find(key);
        return at == index.end() ? nullptr : at->second;
    }

    // The root above an issuer, by way of a list of those between.
    const Record* climb(const Record& issuer) const {
        std::vector<const Record*> chain{&issuer};
        while (chain.back() && chain.back()->subject != chain.back()->issuer)
            chain.push_back(findIn(m_bySubjectKeyId, keyOf(*chain.back(), Search::Issuer)));
        return chain.back();
    }

    std::optional<std::shared_mutex> m_mutex;
    std::vector<std::unique_ptr<const Record>> m_records;
    Index m_bySubject, m_bySerial, m_bySubjectKeyId, m_byEmail;
    Search m_search = Search::Subject;
    std::vector<std::string> m_queries;
};

template <Locking locking>
std::unique_ptr<Store> makeStore(std::size_t) {
    return std::make_unique<FloorStore>(locking);
}

}  // namespace

Peer floorPeer() {
    return {.name = "floor",
            .parse = parse,
            .makeStore = makeStore<Locking::None>,
            .way = [](Search) { return Way::Index; },
            .largestStore = 1'000'000};
}

Peer lockedFloorPeer() {
    return {.name = "floor with a shared_mutex",
            .makeStore = makeStore<Locking::Shared>,
            .way = [](Search) { return Way::Index; },
            .largestStore = 1'000'000,
            .searchesInThreads = true};
}

}  // namespace certbench
