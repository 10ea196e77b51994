#pragma once
// Where the largest products keep what does not fit their scratch memory: named objects of a given size.

#include "frame/types.h"

namespace kvt::multiply {

class StorageProvider {
  public:
    // A new object of at least this many bytes, contents undefined, aligned to 64 bytes. Raises when there is no
    // room. The name lives as long as the object.
    virtual u32* create(const char* name, u64 bytes) = 0;
    virtual void release(u32* object) noexcept = 0;

  protected:
    ~StorageProvider() = default;
};

// Objects in a caller's memory: each goes to the lowest gap that holds it.
class MemoryStorage final : public StorageProvider {
  public:
    static constexpr u64 alignment = 64;
    static constexpr u64 rounded(u64 bytes) { return (bytes + alignment - 1) & ~(alignment - 1); }

    // Of `bytes` bytes, up to alignment - 1 are lost to a memory block of any alignment.
    MemoryStorage(void* memory, u64 bytes) noexcept;

    u32* create(const char* name, u64 bytes) override;
    void release(u32* object) noexcept override;

  private:
    static constexpr unsigned most_objects = 16;
    struct Extent {
        u8* first;
        u8* last;
    };
    u8* memory_;
    u8* end_;
    unsigned count_ = 0;
    Extent objects_[most_objects];  // ascending
};

// An object for a scope, or until reset().
class ScratchObject {
  public:
    ScratchObject() = default;
    ScratchObject(StorageProvider& storage, const char* name, u64 bytes)
        : storage_(&storage), words_(storage.create(name, bytes)) {}
    ScratchObject(ScratchObject&& other) noexcept : storage_(other.storage_), words_(other.words_) {
        other.words_ = nullptr;
    }
    ScratchObject& operator=(ScratchObject&& other) noexcept {
        reset();
        storage_ = other.storage_;
        words_ = other.words_;
        other.words_ = nullptr;
        return *this;
    }
    ~ScratchObject() { reset(); }

    u32* words() const { return words_; }
    void reset() noexcept {
        if (words_ != nullptr) storage_->release(words_);
        words_ = nullptr;
    }

  private:
    StorageProvider* storage_ = nullptr;
    u32* words_ = nullptr;
};

}  // namespace kvt::multiply
