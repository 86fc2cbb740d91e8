#include "certstore/SystemCerts.h"

bool SystemCerts::addCertDer(DataBuffer& der, LogBase& log) {
    CritSecExitor lock(*this);
    LogContextExitor context(log, "addCertDer");
    const ZorvenOwner<CertificateHolder> holder(
        CertificateHolder::createFromDer(der.getData2(), der.getSize(), nullptr, log));
    return holder && m_certRepository.addCertificate(holder->getCertPtr(log), log);
}
