#pragma once

// Base of the objects that applications make with a createNewCls operation and give back with
// deleteSelf.
// NOLINTNEXTLINE(*-virtual-class-destructor): deleteSelf destroys it
class ClsBase {
public:
    ClsBase(const ClsBase&) = delete;
    ClsBase& operator=(const ClsBase&) = delete;

    // Destroys this object; what others share with it lives on.
    void deleteSelf() noexcept { delete this; }

protected:
    ClsBase() = default;
    virtual ~ClsBase() = default;
};
