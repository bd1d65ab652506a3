#pragma once

namespace Pt {

// An object with two counts of references. Strong ones keep it working, soft ones only keep its
// memory: with the last strong one it cleans itself up and is dead, and it is deleted once no soft
// one is left either. Both counts start at 0. Any thread may call; a few mutexes are shared by all
// such objects, and none is held while an object cleans up or is deleted.
class SmartPointerBaseTwo {
public:
    SmartPointerBaseTwo() = default;
    SmartPointerBaseTwo(const SmartPointerBaseTwo&) = delete;
    SmartPointerBaseTwo& operator=(const SmartPointerBaseTwo&) = delete;

    void incRefCount();
    // With the last one, cleans up in this thread. An object dies once: strong references that are
    // taken on a dead one (its own clean-up may do that) are only counted.
    void decRefCount();

    void incSoftRef();
    // Deletes a dead object with the last one. The last soft reference on an object that is not
    // dead does nothing.
    void decSoftRef();

    // Whether the last strong reference has gone; what a soft reference is then good for.
    bool isDead() const;

protected:
    virtual ~SmartPointerBaseTwo() = default;

    // What the object lets go when nobody uses it any more, before the memory goes.
    virtual void cleanUp() noexcept { }

private:
    bool loseStrong();
    bool loseSoft();

    int m_strong = 0;
    int m_soft = 0;
    bool m_isDead = false;
};

} // namespace Pt
