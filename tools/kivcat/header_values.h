// Defaults as C initialisers.
//
// Threads: any. Owns nothing. Errors: none.
#pragma once

#include <string>

#include "platform/catalogue/catalogue_model.h"

namespace kivcat {

// A little-endian integer of the scalar's width as a C constant.
std::string ScalarConstant(catalogue::Scalar scalar, std::uint64_t value);
// The value of an element's bytes, sign-extended to 64 bits when the scalar is signed.
std::uint64_t LoadScalar(catalogue::Scalar scalar, const char* bytes);
// "0x" and lower-case digits without leading zeros.
std::string HexText(std::uint64_t value);
// `bytes` holds the whole field.
std::string FieldInitialiser(const catalogue::Model& model, const catalogue::Field& field,
                             const char* bytes);
// `bytes` holds the whole structure: "{1, {2, 3}}".
std::string StructureInitialiser(const catalogue::Model& model,
                                 const catalogue::Structure& structure, const char* bytes);

}  // namespace kivcat
