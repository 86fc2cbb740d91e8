#pragma once

#include <memory>

// Base of heap objects that have one owner. Owners destroy them through deleteObject, or keep
// them in a ZorvenOwner until somebody else takes them over.
class ZorvenObject {
public:
    virtual ~ZorvenObject() = default;

    ZorvenObject(const ZorvenObject&) = delete;
    ZorvenObject& operator=(const ZorvenObject&) = delete;

    // Destroys the complete object. Null is allowed.
    static void deleteObject(ZorvenObject* obj) noexcept { delete obj; }

protected:
    ZorvenObject() = default;
};

// Base of the objects that a StringHashMap can own.
class NonRefCountedObj : public ZorvenObject {
protected:
    NonRefCountedObj() = default;
};

struct ZorvenDeleter {
    void operator()(ZorvenObject* obj) const noexcept { ZorvenObject::deleteObject(obj); }
};

// Sole owner of a ZorvenObject for the length of a scope. release() gives it to its next owner.
template <typename T>
using ZorvenOwner = std::unique_ptr<T, ZorvenDeleter>;
