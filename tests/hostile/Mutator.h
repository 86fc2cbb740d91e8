#pragma once

#include <random>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/asn1/DerReader.h"
#include "tests/support/crypto/Bytes.h"

// Makes bytes wrong: by chance, but in the same ways for the same seed.
class Mutator {
public:
    explicit Mutator(unsigned int seed) : m_random(seed) {}

    // Mostly one change, at times three. Half of them, where the bytes are DER, are changes to its
    // values with the lengths around them put right, so that reading goes on and meets them.
    std::string mutate(const std::string& bytes) {
        // A fuzz target may have a choice in front.
        const std::size_t front = std::min(bytes.find('\x30'), bytes.size());
        Node root{0, bytes.substr(0, front)};
        const bool der =
            below(2) == 0 && split(certstore::bytesOf(bytes).subspan(front), root.children, 0);
        std::string changed = bytes;
        for (std::size_t changes = below(6) == 0 ? 3 : 1; changes > 0; --changes)
            der ? changeValue(root) : changeBytes(changed);
        return der ? encode(root) : changed;
    }

    std::size_t below(std::size_t bound) { return bound == 0 ? 0 : m_random() % bound; }

private:
    // A value of DER; without a tag its content as it stands, or a list of values.
    struct Node {
        unsigned char tag = 0;
        std::string content = {};  // in front of the children
        std::vector<Node> children = {};
        std::size_t lengthOctets = 0;  // at least so many
        int lengthError = 0;
    };
    using Place = std::pair<std::vector<Node>*, std::size_t>;

    // Also what lies encoded in OCTET STRINGs and BIT STRINGs.
    static bool split(certstore::ByteView bytes, std::vector<Node>& nodes, int depth) {
        for (certstore::DerReader reader(bytes); !reader.atEnd();) {
            certstore::ByteView content, whole;
            Node& node = nodes.emplace_back();
            if (depth > 30 || !reader.readAny(node.tag, content, whole))
                return false;
            const std::size_t front = node.tag == 3 && content.size() > 2 ? 1 : 0;
            if (((node.tag & 0x20) == 0 && node.tag != 4 && front == 0)
                || !split(content.subspan(front), node.children, depth + 1))
                node.children.clear();
            node.content =
                certstore::textOf(node.children.empty() ? content : content.first(front));
        }
        return true;
    }

    static std::string encode(const Node& node) {
        std::string content = node.content, length;
        for (const Node& child : node.children)
            content += encode(child);
        if (node.tag == 0)
            return content;
        const std::size_t size = content.size() + static_cast<std::size_t>(node.lengthError);
        if (size < 0x80 && node.lengthOctets == 0)
            return static_cast<char>(node.tag) + std::string(1, static_cast<char>(size)) + content;
        for (std::size_t rest = size; rest != 0 || length.size() < node.lengthOctets; rest >>= 8)
            length.insert(0, 1, static_cast<char>(rest));
        length.insert(0, 1, static_cast<char>(0x80 | length.size()));
        return static_cast<char>(node.tag) + length + content;
    }

    // Values that are rare or wrong where they stand, or both.
    std::string oddity() {
        std::istringstream words(
            "010101 010100 0101FF 0100 0201FF 020103 0200 02020001 0202FFFF 02047FFFFFFF 030100 "
            "0209FFFFFFFFFFFFFFFFFF 03020780 030207FF 03020800 0300 0400 0500 050100 06012A 060180 "
            "0600 0603883703 06022A80 060B2AFFFFFFFFFFFFFFFFFF7F 0A0101 0C02C3A9 0C02C080 120178 "
            "13036140E9 1402E900 1602FF2E 1A0176 1E04D83DDD11 1E03006162 1E02D800 1C040001F511 "
            "170B3439303130313030305A 180F39393939313233313233353935395A 1800 3000 3100 A003020102 "
            "A003020103 A000 A3023000 8103400061 8100 1F810100 0000 300906032A03040101FF0400 3080 "
            "300C0603551D0E0101FF04020400 300806035504031A0176 310B300906035504031E020076");
        std::string word;
        for (std::size_t count = 1 + below(55); count > 0; --count)
            words >> word;
        const Bytes bytes = fromHex(word);
        return std::string(bytes.begin(), bytes.end());
    }

    // clang-format off
    void changeValue(Node& root) {
        std::vector<Place> places;
        collect(root.children, places);
        if (places.empty())
            return;
        const auto [list, at] = places[below(places.size())];
        const auto [otherList, otherAt] = places[below(places.size())];
        const Node other = (*otherList)[otherAt], odd{0, oddity()};
        Node& node = (*list)[at];
        const auto here = list->begin() + static_cast<std::ptrdiff_t>(at);
        switch (below(15)) {
            case 0: node.tag ^= static_cast<unsigned char>(1U << below(8)); break;
            case 1: node.tag = static_cast<unsigned char>(odd.content[0]); break;
            case 2: node.lengthOctets = 1 + below(5); break;
            case 3: node.lengthError = below(2) == 0 ? 1 : -1; break;
            case 4: node = {node.tag}; break;
            case 5: list->insert(here, Node(node)); break;
            case 6: list->erase(here); break;
            case 7: std::swap(node, (*list)[below(list->size())]); break;
            case 8: node.content.insert(0, 1, "\0\xff\x80\1"[below(4)]); break;
            case 9: node.children.push_back(odd); break;
            case 10: list->insert(here, odd); break;
            case 11: node = odd; break;
            case 12: node = other; break;
            case 13: list->insert(here, other); break;
            default: changeBytes(node.content);
        }
    }

    void changeBytes(std::string& bytes) {
        const std::size_t at = below(bytes.size()), run = 1 + below(below(2) == 0 ? 4 : 40);
        switch (bytes.empty() ? 0 : below(7)) {
            case 0: bytes.insert(at, oddity()); break;
            case 1: bytes[at] = static_cast<char>(bytes[at] ^ 1 << below(8)); break;
            case 2: bytes[at] = "\0\1\x7f\x80\xff\x30\x82"[below(7)]; break;
            case 3: bytes[at] = static_cast<char>(bytes[at] + (below(2) == 0 ? 1 : -1)); break;
            case 4: bytes.erase(at, run); break;
            case 5: bytes.insert(at, bytes.substr(below(bytes.size()), run)); break;
            default: bytes.resize(at);
        }
    }
    // clang-format on

    static void collect(std::vector<Node>& nodes, std::vector<Place>& places) {
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            places.emplace_back(&nodes, i);
            collect(nodes[i].children, places);
        }
    }

    std::mt19937 m_random;
};
