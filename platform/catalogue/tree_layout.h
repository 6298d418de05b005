// TreeLayout: everything about a value tree but its values. It is worked out once and shared by all
// trees of a structure; a tree adds one body to it.
//
// Threads: immutable once built, so any. Trees hold it by std::shared_ptr.
// Owns its names and default bytes.
// Errors: building throws std::bad_alloc; whoever builds one turns that into status 500.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

inline constexpr std::int32_t kKindValue = 0;
inline constexpr std::int32_t kKindArray = 1;
inline constexpr std::int32_t kKindContainer = 17;  // array of structures
inline constexpr std::int32_t kKindStructure = 24;

// Kinds that hold one value; catalogues give kKindValue only.
constexpr bool IsValueKind(std::int32_t kind) noexcept {
  return kind == kKindValue || kind == 8 || kind == 16;
}

// One node. Nodes stand in document order, so a node's subtree is the run up to `subtreeEnd`.
struct FieldLayout {
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

  const wchar_t* variableName = L"";
  const wchar_t* typeName = L"";
  std::uint64_t bufferBytes = 0;   // what GetValueBuf reports as the length
  std::uint32_t offsetBytes = 0;   // of the node's bytes in the body
  std::uint32_t storageBytes = 0;  // how many of them there are
  std::uint32_t elementBytes = 0;  // GetSizeOfDataType
  std::uint32_t fieldBytes = 0;    // GetSizeInStruct
  // Of an array whose used bytes another field carries: where that field stands in the body.
  std::uint32_t lengthOffsetBytes = 0;
  std::uint32_t lengthWidthBytes = 0;  // 0: no field carries them
  std::uint32_t parent = kNone;        // indices into the layout
  std::uint32_t firstChild = kNone;
  std::uint32_t nextNeighbor = kNone;
  std::uint32_t subtreeEnd = 1;
  std::uint32_t depth = 0;
  std::int32_t kind = kKindStructure;
  bool isSigned = false;
  bool isChar = false;
  bool hasBuffer = false;   // GetValueBuf works
  bool takesBytes = false;  // SetValueBuf works
};

// The immutable shape that all trees of one structure share. What others worked out from it can be
// kept with it as notes: each is set once and never changed.
class TreeLayout {
 public:
  static constexpr std::size_t kNotePlaces = 4;

  TreeLayout() = default;
  ~TreeLayout();
  TreeLayout(const TreeLayout&) = delete;
  TreeLayout& operator=(const TreeLayout&) = delete;

  const std::vector<FieldLayout>& Fields() const noexcept { return fields_; }
  // The body's default content; its size is the size of the body.
  const std::vector<std::uint8_t>& Defaults() const noexcept { return defaults_; }
  std::uint32_t BodyBytes() const noexcept { return static_cast<std::uint32_t>(defaults_.size()); }
  // Runs of the body that belong to no field: zero in every tree, whatever was received there.
  struct Gap {
    std::uint32_t offsetBytes;
    std::uint32_t lengthBytes;
  };
  const std::vector<Gap>& Gaps() const noexcept { return gaps_; }

  // Null while there is none, and for a place that does not exist.
  const void* Note(std::size_t place) const noexcept {
    return place < kNotePlaces ? notes_[place].load(std::memory_order_acquire) : nullptr;
  }
  // Keeps a copy; the first one stays. Null when there is no memory.
  const void* KeepNote(std::size_t place, const void* bytes,
                       std::size_t lengthBytes) const noexcept;

 private:
  friend class TreeLayoutBuilder;
  std::vector<FieldLayout> fields_;
  std::vector<Gap> gaps_;
  std::vector<std::uint8_t> defaults_;
  std::wstring names_;  // zero-terminated, one behind the other
  mutable std::array<std::atomic<void*>, kNotePlaces> notes_{};
};

// Adds nodes in document order.
class TreeLayoutBuilder {
 public:
  TreeLayoutBuilder() : layout_(std::make_shared<TreeLayout>()) {}

  // `field` without names and links, but with its depth, which must be 0 for the first node and at
  // most one more than the depth of the node before for every other. False when it is not, or when
  // it is a second root.
  bool Add(const FieldLayout& field, std::wstring_view variableName, std::wstring_view typeName);
  // An empty gap is left out.
  void AddGap(std::uint64_t beginBytes, std::uint64_t endBytes);
  // Nothing may be added afterwards. Null when there is no root.
  std::shared_ptr<const TreeLayout> Finish(std::vector<std::uint8_t> defaults);

 private:
  std::uint32_t Intern(std::wstring_view name);
  void Link(std::uint32_t index);

  // Where a field's two names stand in the block of names.
  struct NameOffsets {
    std::uint32_t variableName;
    std::uint32_t typeName;
  };

  std::shared_ptr<TreeLayout> layout_;
  std::vector<NameOffsets> nameOffsets_;
  std::vector<std::uint32_t> open_;  // the path from the root to the last node
  std::unordered_map<std::wstring, std::uint32_t> known_;
};
