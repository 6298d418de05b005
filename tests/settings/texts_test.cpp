// Every text comes back as it went in: through memory, the document, the file and back.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/settings/settings_bench.h"
#include "tests/settings/settings_samples.h"
#include "tests/support/sweep.h"

namespace {

using namespace kivtest;  // NOLINT(google-build-using-namespace): a test's own vocabulary
using Texts = std::vector<std::wstring>;

constexpr std::size_t kEntriesOfADocument = 1500;

// Every value of a 16-bit unit but 0, in pieces of at most `lengthChars`.
Texts EveryUnit(std::size_t lengthChars) {
  Texts texts(1);
  for (std::uint32_t unit = 1; unit <= 0xFFFF; ++unit) {
    if (texts.back().size() == lengthChars) texts.emplace_back();
    texts.back() += static_cast<wchar_t>(unit);
  }
  return texts;
}

wchar_t AnyCharacter(std::mt19937& random) {
  // Each kind of trouble as often as plain text: markup, controls, surrogates, the end of the
  // planes and what lies beyond.
  static const std::wstring kMarkup = L"<>&\"'%()\\n\n\r\t ;#x0{}@";
  switch (random() % 6) {
    case 0:
      return kMarkup[random() % kMarkup.size()];
    case 1:
      return static_cast<wchar_t>(1 + random() % 0x1F);
    case 2:
      return static_cast<wchar_t>(0xD800 + random() % 0x800);
    case 3:
      return static_cast<wchar_t>(0xFFF0 + random() % 0x10);
    case 4: {
      const std::uint64_t largest = static_cast<std::uint64_t>(std::numeric_limits<wchar_t>::max());
      const std::uint64_t value = random() % 8 == 0 ? random() : random() % 0x110000;
      const auto unit = static_cast<wchar_t>(value % largest + 1);
      return unit;
    }
    default:
      return static_cast<wchar_t>(L' ' + random() % 95);
  }
}

Texts RandomTexts(std::size_t count, std::size_t lengthChars, std::uint32_t seed) {
  std::mt19937 random(seed);
  Texts texts;
  for (std::size_t i = 0; i < count; ++i) {
    std::wstring text;
    for (std::size_t have = 1 + random() % lengthChars; have > 0; --have) {
      text += AnyCharacter(random);
    }
    texts.push_back(text);
  }
  return texts;
}

Texts AllTexts(std::size_t lengthChars, std::uint32_t seed) {
  Texts texts = EveryUnit(lengthChars);
  const auto count = static_cast<std::size_t>(SweepCount(3000));
  for (std::wstring& text : RandomTexts(count, lengthChars, seed)) texts.push_back(std::move(text));
  // Texts that look like the escapes of documents.
  for (const wchar_t* text :
       {L"&lt;",      L"&#10;",  L"&#x0;", L"%u0041", L"\\x41", L"\\u0041", L"_x0041_",
        L"\xE000",    L"\xFFFD", L" lead", L"trail ", L"\t",    L"\n",      L"\r\n",
        L"&amp;amp;", L"]]>",    L"<!--",  L"\xFEFF", L"\x7F",  L"\x85",    L"\x2028"}) {
    texts.push_back(std::wstring(text).substr(0, lengthChars));
  }
  return texts;
}

// Code points, since GoogleTest prints no characters beyond the planes.
testing::AssertionResult Same(const std::wstring& expected, const std::wstring& text) {
  if (expected == text) return testing::AssertionSuccess();
  const auto shown = [](const std::wstring& which) {
    std::ostringstream codes;
    for (const wchar_t ch : which) codes << " " << std::hex << static_cast<std::uint32_t>(ch);
    return codes.str();
  };
  return testing::AssertionFailure() << "expected" << shown(expected) << ", is" << shown(text);
}

void Replace(std::wstring& text, const std::wstring& from, const std::wstring& to) {
  for (std::size_t at = text.find(from); at != std::wstring::npos;
       at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

// What comes back of a parameter text: the three substitutions there, and then back.
std::wstring ThereAndBack(std::wstring text) {
  Replace(text, L"<", L"%(%");
  Replace(text, L">", L"%)%");
  Replace(text, L"\n", L"\\n");
  Replace(text, L"%(%", L"<");
  Replace(text, L"%)%", L">");
  Replace(text, L"\\n", L"\n");
  return text;
}

// Puts texts into lists of one document after the other and looks at them after a new load.
template <typename Put, typename Check>
void ThroughDocuments(const Texts& texts, std::size_t perDocument, Put put, Check check) {
  SettingsBench bench(Document(""));
  bench.Tape().isOn = false;
  for (std::size_t from = 0; from < texts.size(); from += perDocument) {
    bench.Load();
    const std::size_t count = std::min(perDocument, texts.size() - from);
    put(bench, from, count);
    ASSERT_EQ(0u, bench.Config().StoreEverything(nullptr));
    ASSERT_EQ(0u, bench.Config().Save());
    bench.Load();
    check(bench, from, count);
    if (testing::Test::HasFatalFailure()) return;
  }
  EXPECT_EQ(std::vector<std::wstring>{}, bench.TakeNotices());
}

TEST(Texts, OfCommandNamesComeBack) {
  const Texts texts = AllTexts(80, 1);
  ThroughDocuments(
      texts, kEntriesOfADocument,
      [&](SettingsBench& bench, std::size_t from, std::size_t count) {
        bench.Lists().favourites.RemoveAll();
        for (std::size_t i = 0; i < count; ++i) {
          bench.Lists().favourites.AddTail(Command(texts[from + i], L""));
        }
      },
      [&](SettingsBench& bench, std::size_t from, std::size_t count) {
        ASSERT_EQ(count, bench.Lists().favourites.GetCount());
        for (std::size_t i = 0; i < count; ++i) {
          ASSERT_TRUE(Same(texts[from + i], bench.Lists().favourites[i].name.str())) << from + i;
        }
      });
}

TEST(Texts, OfParametersComeBackButForTheSubstitutions) {
  Texts texts = AllTexts(80, 2);
  for (std::wstring& text : RandomTexts(4, 16384, 3)) texts.push_back(std::move(text));
  texts.push_back(std::wstring(16384, L'\x1F600'));
  texts.push_back(std::wstring(16384, L'<'));
  ThroughDocuments(
      texts, kEntriesOfADocument,
      [&](SettingsBench& bench, std::size_t from, std::size_t count) {
        bench.Lists().favourites.RemoveAll();
        for (std::size_t i = 0; i < count; ++i) {
          bench.Lists().favourites.AddTail(Command(L"n", texts[from + i]));
        }
      },
      [&](SettingsBench& bench, std::size_t from, std::size_t count) {
        ASSERT_EQ(count, bench.Lists().favourites.GetCount());
        for (std::size_t i = 0; i < count; ++i) {
          ASSERT_TRUE(
              Same(ThereAndBack(texts[from + i]), bench.Lists().favourites[i].parameters.str()))
              << from + i;
        }
      });
}

TEST(Texts, OfHistoryEntriesComeBack) {
  const Texts texts = AllTexts(80, 4);
  ThroughDocuments(
      texts, 100,
      [&](SettingsBench& bench, std::size_t from, std::size_t count) {
        bench.Lists().history.RemoveAll();
        for (std::size_t i = 0; i < count; ++i) {
          bench.Lists().history.AddTail(Command(texts[from + i], texts[from + i]));
        }
      },
      [&](SettingsBench& bench, std::size_t from, std::size_t count) {
        ASSERT_EQ(count, bench.Lists().history.GetCount());
        for (std::size_t i = 0; i < count; ++i) {
          ASSERT_TRUE(Same(texts[from + i], bench.Lists().history[i].name.str())) << from + i;
          ASSERT_TRUE(
              Same(ThereAndBack(texts[from + i]), bench.Lists().history[i].parameters.str()));
        }
      });
}

TEST(Texts, OfShortcutsComeBack) {
  // Long names would be refused and long parameters are tried above: a longer piece a slot.
  const Texts names = AllTexts(80, 5);
  const Texts parameters = EveryUnit(800);
  ThroughDocuments(
      names, 10,
      [&](SettingsBench& bench, std::size_t from, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
          bench.Lists().shortcuts[i] =
              Command(names[from + i], parameters[(from + i) % parameters.size()]);
        }
      },
      [&](SettingsBench& bench, std::size_t from, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
          ASSERT_TRUE(Same(names[from + i], bench.Lists().shortcuts[i].name.str())) << from + i;
          ASSERT_TRUE(Same(ThereAndBack(parameters[(from + i) % parameters.size()]),
                           bench.Lists().shortcuts[i].parameters.str()));
        }
      });
}

TEST(Texts, OfIndicationNamesComeBack) {
  const Texts texts = AllTexts(80, 6);
  ThroughDocuments(
      texts, kEntriesOfADocument,
      [&](SettingsBench& bench, std::size_t from, std::size_t count) {
        bench.Lists().supportedInds.RemoveAll();
        for (std::size_t i = 0; i < count; ++i) {
          bench.Lists().supportedInds.AddTail(
              Ind(static_cast<std::int32_t>(0x80000000u + 3 * i), texts[from + i]));
        }
      },
      [&](SettingsBench& bench, std::size_t from, std::size_t count) {
        ASSERT_EQ(count, bench.Lists().supportedInds.GetCount());
        for (std::size_t i = 0; i < count; ++i) {
          ASSERT_TRUE(Same(texts[from + i], bench.Lists().supportedInds[i].name.str())) << from + i;
          ASSERT_EQ(static_cast<std::int32_t>(0x80000000u + 3 * i),
                    bench.Lists().supportedInds[i].id);
        }
      });
}

std::array<SvcKivSpace::KivKeyBinding*, 5> FiveKeys(SettingsBench& bench) {
  SvcKivSpace::KivKeyBindings& keys = bench.Keys();
  return {&keys.repeatCmd, &keys.sendCmd, &keys.listHistoryCmd, &keys.listRecentCmd, &keys.cancel};
}

TEST(Texts, OfTheOtherFieldsComeBack) {
  const Texts titles = AllTexts(256, 7);
  const Texts shorts = EveryUnit(64);
  const std::size_t count = std::max(titles.size(), shorts.size());
  const auto at = [](const Texts& texts, std::size_t i) { return texts[i % texts.size()]; };
  SettingsBench bench(Document(""));
  bench.Tape().isOn = false;
  for (std::size_t i = 0; i < count; ++i) {
    if (i >= shorts.size() && i % 10 != 0 && SweepCount(10) == 1) continue;
    bench.Load();
    SetText(bench.Settings().title, at(titles, i));
    SetText(bench.Settings().fontName, at(shorts, i));
    SetText(bench.Settings().displayLineNumber, at(shorts, i + 1));
    for (std::size_t k = 0; k < 5; ++k) FiveKeys(bench)[k]->name = QCString(at(titles, i + k));
    ASSERT_EQ(0u, bench.Config().StoreEverything(nullptr));
    ASSERT_EQ(0u, bench.Config().Save());
    bench.Load();
    ASSERT_TRUE(Same(at(titles, i), bench.Settings().title)) << i;
    ASSERT_TRUE(Same(at(shorts, i), bench.Settings().fontName)) << i;
    ASSERT_TRUE(Same(at(shorts, i + 1), bench.Settings().displayLineNumber)) << i;
    for (std::size_t k = 0; k < 5; ++k) {
      ASSERT_TRUE(Same(at(titles, i + k), FiveKeys(bench)[k]->name.str())) << i;
    }
  }
}

TEST(Texts, OfThePromptAreItsFirstCharacter) {
  SettingsBench bench(Document("<POPULAR/>"));
  bench.Load();
  bench.Tape().isOn = false;
  const std::uint32_t step = SweepCount(10) == 1 ? 7 : 1;
  for (std::uint32_t unit = 1; unit <= 0xFFFF; unit += step) {
    bench.Settings().prompt = static_cast<wchar_t>(unit);
    ASSERT_EQ(0u, bench.Config().WritePopular());
    bench.Settings().prompt = 0;
    ASSERT_EQ(0u, bench.Config().ReadPopular());
    ASSERT_EQ(static_cast<wchar_t>(unit), bench.Settings().prompt) << unit;
  }
  for (const std::wstring& text : AllTexts(80, 8)) {
    ASSERT_EQ(0u, bench.Config().WriteAttribute(text.c_str(), L"PROMPT",
                                                L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR",
                                                L"0.0.0.0.0"));
    ASSERT_EQ(0u, bench.Config().ReadPopular());
    ASSERT_EQ(text.front(), bench.Settings().prompt);
  }
}

TEST(Texts, OfThePromptComeBackFromTheFile) {
  SettingsBench bench(Document("<POPULAR/>"));
  bench.Tape().isOn = false;
  std::mt19937 random(9);
  for (std::int64_t i = 0; i < SweepCount(2000); ++i) {
    const wchar_t prompt = AnyCharacter(random);
    bench.Load();
    bench.Settings().prompt = prompt;
    ASSERT_EQ(0u, bench.Config().WritePopular());
    bench.Load();
    ASSERT_EQ(prompt, bench.Settings().prompt);
  }
}

TEST(Texts, OfSingleAttributesComeBack) {
  SettingsBench bench(Document("<POPULAR/>"));
  bench.Tape().isOn = false;
  bench.Load();
  const Texts texts = AllTexts(16384, 10);
  const auto place = [](std::size_t i) { return L"A" + std::to_wstring(i); };
  const wchar_t* element = L"SourceData.SESSION.INSTANCE.DEFAULT.POPULAR";
  const std::size_t count = std::min<std::size_t>(texts.size(), 80);
  for (std::size_t i = 0; i < count; ++i) {
    ASSERT_EQ(0u, bench.Config().WriteAttribute(texts[i].c_str(), place(i).c_str(), element,
                                                L"0.0.0.0.0"));
  }
  ASSERT_EQ(0u, bench.Config().Save());
  bench.Load();
  for (std::size_t i = 0; i < count; ++i) {
    QCString back;
    ASSERT_EQ(0u, bench.Config().ReadAttribute(back, place(i).c_str(), element, L"0.0.0.0.0"));
    ASSERT_TRUE(Same(texts[i], back.str())) << i;
  }
}

// The path is made absolute, kept in 255 characters and cut to what the file says: an absolute path
// outside of the application directory comes back whole.
TEST(Texts, OfTheSavePathComeBackAsFarAsTheyAreHeld) {
  SettingsBench bench(Document("<SAVE/>"));
  bench.Tape().isOn = false;
  for (std::wstring text : AllTexts(150, 11)) {
    // The separators would make folders all over the place.
    for (wchar_t& ch : text) {
      if (ch == L'/' || ch == L'\\') ch = L'_';
    }
    text = bench.Folder().WidePath() + L"/" + text;
    bench.Load();
    SetText(bench.Settings().savePath, text);
    ASSERT_EQ(0u, bench.Config().WriteSave());
    ASSERT_EQ(0u, bench.Config().Save());
    bench.Load();
    ASSERT_TRUE(Same(text, bench.Settings().savePath));
  }
}

}  // namespace
