// CParamCodec: a command's default value tree, tree to packet body, packet body to tree.
//
// Layouts are worked out once a command and shared by all codecs of a catalogue; making a codec is
// cheap.
//
// Threads: one codec for one thread at a time; several codecs may share a catalogue.
// Owns a share of the catalogue.
// Errors (result_codes.h): 1 the command has no structure of that kind, 51 no catalogue file, 500
// no memory; other statuses for an unknown id, a malformed catalogue, a body shorter or longer than
// its layout.
#pragma once

#include <cstdint>
#include <memory>

#include "platform/catalogue/param_node.h"
#include "platform/platform_export.h"

class Catalogue;

enum class CmdIdType : std::uint32_t { Any = 0xFFFFFFFFu };
enum class CategoryIdType : std::uint32_t { Any = 0xFFFFFFFFu };

// Which body is to be decoded.
struct DecodeDescriptor {
  static constexpr std::uint32_t kCnf = 1;
  static constexpr std::uint32_t kInd = 2;
  static constexpr std::uint32_t kReq = 3;

  std::uint32_t cmdId;
  std::uint32_t mode;
  std::uint32_t lengthBytes;
};

// Default trees, bodies from trees, trees from bodies.
class KIVPLATFORM_API CParamCodec {
 public:
  // An empty (or null) path is the catalogue that the process works with: the one that CCmdDatabase
  // last opened for the bench setup.
  explicit CParamCodec(const wchar_t* cataloguePath);
  ~CParamCodec();
  CParamCodec(const CParamCodec&) = delete;
  CParamCodec& operator=(const CParamCodec&) = delete;

  // Fills `root` with the request's structure and defaults; a command without request parameters
  // gives a root without children. On failure `root` is empty.
  std::uint32_t QueryDefaultParam(std::uint32_t cmdId, CmdIdType kind, CParamNode& root);
  // The packet body, in a pool block that the caller releases with PoolFree; never null on success,
  // even for length 0. On failure `*body` is null.
  std::uint32_t Encode(std::uint32_t cmdId, const CParamNode& root, std::uint32_t* lengthBytes,
                       std::uint8_t** body);
  // Reads exactly descriptor.lengthBytes bytes and copies them: the tree does not refer to `bytes`.
  std::uint32_t Decode(const DecodeDescriptor& descriptor, const std::uint8_t* bytes,
                       CParamNode& root, CategoryIdType category);

 private:
  std::shared_ptr<const Catalogue> catalogue_;
  std::uint32_t openStatus_ = 0;
};
