#include "support/buffers/XString.h"

void XString::copyFromX(const XString& other) {
    if (&other == this)
        return;
    m_utf8.weakClear();
    m_utf8.append(other.m_utf8);
}
