// What the words for history, favourites, keys and settings files have to say beside their answers:
// whole lines for standard error.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/command_memory.h"

namespace kiv {

// `word` with its colon. How a word is called, when its arguments are none that it takes.
std::string UsageText(std::string_view word, std::string_view arguments);
// What keeps a change from being made, or from being saved; empty for what went well.
std::string NotKeptText(Kept kept);
// Of a line that the settings file would give back changed.
std::string ComesBackChangedText();
std::string NoSuchLineText(std::size_t number);
std::string NothingTypedText();
std::string NoSuchFavouriteText(const std::string& which);
std::string FavouriteIsThereText(std::size_t number);
// Several favourites have the name.
std::string SeveralFavouritesText(const std::string& name, const std::vector<std::size_t>& numbers);
std::string KeyNotSetText(std::size_t number);
// The line of a key goes before what the key is bound to (`use`, as UseOfFreeKey says it).
std::string KeyTakenText(std::size_t number, const std::string& use);
// Lines that run each other without end.
std::string RunsItselfText(const std::string& line);
// What was carried to or from `path`, or why not.
std::string ImportText(const Imported& imported, const std::string& path);
std::string ExportText(std::uint32_t status, const std::string& path);

}  // namespace kiv
