#include "support/roots/TrustedRoots.h"

#include "support/roots/RootIndex.h"

namespace {

// Never destroyed: stores may outlive main.
certstore::RootIndex& roots() {
    // NOLINTNEXTLINE(*-global-variables): the process's one set
    static certstore::RootIndex& index = *new certstore::RootIndex;
    return index;
}

std::string_view viewOf(const char* text) noexcept {
    return text ? std::string_view(text) : std::string_view();
}

}  // namespace

bool TrustedRoots::isTrustedRoot(const char* keyType, const char* subjectKeyId,
                                 const char* subjectDn, DataBuffer& der, bool& found, LogBase&) {
    found =
        subjectDn && roots().findBySubject(subjectDn, {viewOf(keyType), viewOf(subjectKeyId)}, der);
    return found;
}

bool TrustedRoots::isTrustedRoot_ski(const char* subjectKeyId, DataBuffer& der, bool& found,
                                     LogBase&) {
    found = subjectKeyId && roots().findBySubjectKeyId(subjectKeyId, der);
    return found;
}

void TrustedRoots::addRoots(const certstore::RootIndex& added) {
    roots().addAll(added);
}

void TrustedRoots::removeAll() {
    roots().removeAll();
}
