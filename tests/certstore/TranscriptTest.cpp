// Repeats tests/data/store.txt word for word: what is done with stores, and what they answer and
// write. tests/data/README.md explains how to read it.

#include <iomanip>

#include "certstore/SystemCerts.h"
#include "support/encoding/Base64.h"
#include "support/roots/ClsTrustedRoots.h"
#include "support/vault/CertMgr.h"
#include "tests/certstore/CertTools.h"

using namespace certtools;

namespace {

using Strings = std::vector<std::string>;

std::string yes(bool value) {
    return value ? "yes" : "no";
}

bool isCommand(const std::string& line) {
    return line.starts_with("> ") || line.starts_with("- ");
}

// What the commands of one section work on. Their functions answer a command that they know.
class World : public StoreTest {
public:
    std::string run(const std::string& line, LogBase& log) {
        std::istringstream words(line.substr(2));
        m_words.clear();
        for (std::string word; words >> std::quoted(word);)
            m_words.push_back(resolved(word));
        std::string answer;
        for (const auto theme : {&World::prepare, &World::add, &World::find, &World::findKey})
            if (answer = (this->*theme)(m_words[0], log); !answer.empty())
                return answer;
        throw std::runtime_error("unknown: " + line);
    }

    // Random values by their names.
    std::string withNames(std::string text) const {
        for (const auto& [value, name] : m_values)
            for (std::size_t at; (at = text.find(value)) != std::string::npos;)
                text.replace(at, value.size(), name);
        return text;
    }

    void TestBody() override {}

private:
    // With the values that certificates have in the place of ski(NAME), serial(NAME), dn(NAME).
    std::string resolved(std::string word) {
        using ValueOf = std::string (*)(X509Certificate&);
        static const std::map<std::string, ValueOf> kValues = {
            {"ski(", keyIdOf}, {"serial(", serialOf}, {"dn(", dnOf}};
        for (const auto& [front, valueOf] : kValues) {
            const std::size_t at = word.find(front), begin = at + front.size();
            const std::size_t end = word.find(')', at);
            if (at != std::string::npos)
                word.replace(at, end + 1 - at, valueOf(*named(word.substr(begin, end - begin))));
        }
        return word;
    }

    // A word of the command; null for "-" and what is not given.
    const char* text(std::size_t i) const {
        return i < m_words.size() && m_words[i] != "-" ? m_words[i].c_str() : nullptr;
    }

    X509Certificate* cert(std::size_t i) { return text(i) ? named(text(i)) : nullptr; }

    // FILE or FILE#INDEX, or what a command has given a name to.
    X509Certificate* named(const std::string& name) {
        const std::size_t mark = std::min(name.find('#'), name.size());
        if (!m_named.contains(name))
            remember(name,
                     certs(name.substr(0, mark) + ".pem")
                         .at(mark == name.size() ? 0 : std::stoul(name.substr(mark + 1))));
        return m_named.at(name);
    }

    void remember(const std::string& name, X509Certificate* cert) {
        StringBuffer base64;
        certstore::appendBase64(base64, cert->getX509Ptr()->subjectKeyId());
        m_named[name] = cert;
        m_values.emplace(keyIdOf(*cert), "ski(" + name + ")");
        m_values.emplace(base64.getString(), "base64(" + name + ")");
        if (serialOf(*cert).size() > 8)
            m_values.emplace(serialOf(*cert), "serial(" + name + ")");
        m_values.erase("");
    }

    std::string nameOf(const certstore::X509* x509) const {
        for (const auto& [name, known] : m_named)
            if (known->getX509Ptr() == x509)
                return name;
        return x509 ? nameOf(x509->der()) : "none";
    }

    std::string nameOf(certstore::ByteView der) const {
        for (const auto& [name, known] : m_named)
            if (certstore::equalBytes(known->getX509Ptr()->der(), der))
                return "like " + name;
        return der.empty() ? "none" : "another";
    }

    std::string nameOf(const X509Certificate* cert) const {
        return nameOf(cert ? cert->getX509Ptr() : nullptr);
    }

    SystemCerts& store() { return m_stores[m_current]; }

    std::string prepare(const std::string& verb, LogBase&) {
        if (verb == "store")
            m_current = text(1);
        else if (verb == "edit")  // NAME CERT FROM TO
            remember(text(1), &edited(*cert(2), text(3), text(4)));
        else if (verb == "edit-serial")  // NAME CERT OTHER
            remember(text(1), &withSerialOf(*cert(3), *cert(2)));
        else if (verb == "attach")  // CERT FILE
            attachKey(*cert(1), m_keyFiles.emplace_back(text(2)));
        else if (verb == "know")  // CERT...
            for (std::size_t i = 1; i < m_words.size(); ++i)
                cert(i);
        else if (verb == "know-key")
            m_keyFiles.emplace_back(text(1));
        else if (verb == "hide")
            cert(1)->m_certKey.setNotExportable();
        else if (verb == "trust")  // CERT...
            for (std::size_t i = 1; i < m_words.size(); ++i)
                trust({cert(i)});
        else if (verb == "key-of")
            return "key " + yes(cert(1)->m_certKey.isPrivateKey()) + ", exportable "
                + yes(cert(1)->m_certKey.isExportable());
        else
            return "";
        return "done";
    }

    std::string add(const std::string& verb, LogBase& log) {
        bool good = true;
        if (verb == "add") {
            for (std::size_t i = 1; i < m_words.size(); ++i)
                good = store().addCertificate(cert(i), log) && good;
            return yes(good);
        }
        if (verb == "add-all") {  // FILE
            const std::string file = text(1);
            for (std::size_t i = 0, count = certs(file + ".pem").size(); i < count; ++i)
                good = store().addCertificate(named(file + "#" + std::to_string(i)), log) && good;
            return yes(good);
        }
        if (verb == "add-der" || verb == "add-cut-der") {
            const certstore::ByteView whole = cert(1)->getX509Ptr()->der();
            DataBuffer der;
            der.append(whole.first(whole.size() - (verb == "add-cut-der")));
            return yes(store().addCertDer(der, log));
        }
        if (verb == "merge")
            return yes(store().mergeSysCerts(m_stores[text(1)], log));
        if (verb == "trust-bundle") {  // FILE [abort]
            ClsTrustedRoots* const roots = ClsTrustedRoots::createNewCls();
            XString path;
            path.appendUtf8(testfiles::data(text(1)).c_str());
            ProgressMonitor progress;
            progress.m_abort = m_words.size() > 2;
            good = roots->loadCaCertsPem(path, &progress, log) && roots->sysActivate(log);
            roots->deleteSelf();
            return yes(good);
        }
        DataBuffer pfx;
        if (verb == "add-pfx" || verb == "add-vault")  // FILE PASSWORD
            testfiles::loadFile(text(1), pfx);
        if (verb == "add-pfx") {
            CertificateHolder* out = reinterpret_cast<CertificateHolder*>(this);
            int keys = 7;
            good = store().addPfxSource(pfx, text(2), &out, keys, log);
            const ZorvenOwner<CertificateHolder> owner(out);
            return yes(good) + ", " + nameOf(out ? out->getCertPtr(g_quiet) : nullptr) + ", keys "
                + std::to_string(keys);
        }
        if (verb != "add-vault")
            return "";
        CertMgr vault;
        good = vault.addPfx(pfx, text(2), g_quiet);
        return yes(store().addCertVault(vault, log) && good);
    }

    std::string find(const std::string& verb, LogBase& log) {
        XString dn, unused;
        dn.appendUtf8(text(1) ? text(1) : "");
        if (verb == "list") {
            store().logInMemoryRepository(log);
            return "done";
        }
        if (verb == "by-dn")
            return nameOf(store().findBySubjectDN2(dn, unused, true, log));
        if (verb == "x509-by-dn")
            return nameOf(store().findBySubjectDN_x509(dn, unused, true, log));
        if (verb == "by-oid")
            return nameOf(store().findBySubjectOid(unused, unused, false, log));
        if (verb == "by-part")
            return nameOf(store().findBySubjectPart("CN", unused, false, log));
        if (verb == "by-email")
            return nameOf(store().findByEmailAddr(text(1), false, log));
        if (verb == "by-ski")
            return nameOf(store().findBySubjectKeyId(text(1), log));
        if (verb == "by-serial")  // NUMBER CN DN
            return nameOf(store().findCertificate(text(1), text(2), text(3), log));
        if (verb == "x509-by-serial")
            return nameOf(store().findX509(text(1), text(2), text(3), log));
        if (verb == "issuer")
            return nameOf(store().sysCertsFindIssuer(*cert(1), false, log));
        if (verb == "root-by-dn")  // KEY-TYPE DN
            return yes(store().addFromTrustedRootsBySubjectDN_noTags(text(1), text(2), log));
        if (verb == "root-by-ski")
            return yes(store().addFromTrustedRootsBySki(text(1), log));
        return verb == "chain" ? buildChain(log) : "";
    }

    // chain CERT [with-root] [no-check]
    std::string buildChain(LogBase& log) {
        const auto asked = [this](const char* word) {
            return std::ranges::find(m_words, word) != m_words.end();
        };
        ExtPtrArray members;
        members.appendObject(new StringBuffer);  // others come behind what is there
        bool reachedRoot = true;
        const bool good = store().buildCertChain(*cert(1), asked("with-root"), asked("no-check"),
                                                 members, reachedRoot, log);
        std::string answer = yes(good) + ", root " + yes(reachedRoot) + ":";
        for (int i = 1; i < members.getSize(); ++i)
            answer += " "
                + nameOf(static_cast<CertificateHolder*>(members.elementAt(i))->getCertPtr(log));
        return answer;
    }

    std::string findKey(const std::string& verb, LogBase& log) {
        const auto ask = [&](DataBuffer& key, DataBuffer* der, bool& hidden, LogBase& to) {
            if (verb == "key-by-ski")
                return store().findPrivateKeyBySubjectKeyId(text(1), key, der, hidden, to);
            if (verb == "key-by-serial")  // NUMBER CN DN
                return store().findPrivateKey(text(1), text(2), text(3), key, der, hidden, to);
            return store().findFirstPrivateKeyInRepos(key, der, hidden, to);
        };
        if (verb != "first-key" && !verb.starts_with("key-by-"))
            return "";
        DataBuffer key, der;
        key.append("old secret", 10);
        der.append("old", 3);
        const unsigned char* const storage = key.getData2();
        bool hidden = true;
        const bool good = ask(key, &der, hidden, log);
        EXPECT_TRUE(good || (key.getSize() == 0 && storage[0] == 0)) << "what was there is wiped";
        EXPECT_TRUE(key.m_secure);
        EXPECT_EQ(ask(key, nullptr, hidden, g_quiet), good);
        return yes(good) + ", " + nameOf(der.view()) + " with " + nameOfKey(key) + ", hidden "
            + yes(hidden);
    }

    std::string nameOfKey(const DataBuffer& key) const {
        for (const std::string& file : m_keyFiles) {
            DataBuffer known;
            testfiles::loadPemDer(file, known);
            if (known.equals(key))
                return file;
        }
        return key.getSize() == 0 ? "none" : "another";
    }

    std::map<std::string, SystemCerts> m_stores;
    std::string m_current;
    Strings m_words;
    std::map<std::string, X509Certificate*> m_named;
    std::map<std::string, std::string> m_values;
    Strings m_keyFiles;
};

// Runs a section. Commands after ">" show what they write, those after "-" the errors in it.
Strings answersTo(const Strings& section, bool verbose) {
    World world;
    Strings answers;
    for (const std::string& line : section) {
        if (!isCommand(line))
            continue;
        LogText log;
        log.m_verboseLogging = verbose;
        const std::string answer = world.run(line, log),
                          errors = testfiles::errorsIn(log.getText());
        std::string text = answer == "done" ? "" : "= " + answer + "\n";
        if (line[0] == '>')
            text += log.getText();
        else if (!errors.empty())
            text += "ERROR: " + errors + "\n";
        answers.push_back(world.withNames(text));
    }
    return answers;
}

// Marks with "+" what only a verbose log has.
std::string merged(const std::string& verbose, const std::string& brief) {
    std::istringstream all(verbose), some(brief);
    std::string text, line, next;
    std::getline(some, next);
    while (std::getline(all, line)) {
        const bool inBoth = line == next;
        text += (inBoth ? line : "+" + line.substr(1)) + "\n";
        if (inBoth && !std::getline(some, next))
            next = "";
    }
    return next.empty() ? text : text + "not verbose: " + next + "\n";
}

void expectSection(const Strings& section) {
    const Strings verbose = answersTo(section, true), brief = answersTo(section, false);
    std::string expected, actual;
    std::size_t at = 0;
    for (const std::string& line : section) {
        expected += line + "\n";
        if (line.empty() || isCommand(line) || line[0] == '#' || line.starts_with("=="))
            actual += line + "\n";
        if (isCommand(line))
            actual += line[0] == '>' ? merged(verbose[at], brief[at]) : brief[at], ++at;
    }
    EXPECT_EQ(actual, expected);
}

TEST(Transcripts, AreRepeatedWordForWord) {
    std::istringstream lines(testfiles::readFile(testfiles::data("store.txt")));
    Strings section;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("== ") && !section.empty())
            expectSection(std::exchange(section, {}));
        section.push_back(line);
    }
    expectSection(section);
}

}  // namespace
