#include "Platform/AppKit/RichText/RTFWords.h"

#include <algorithm>
#include <array>
#include <string_view>

using namespace std::string_view_literals;

namespace Marblewick::RTFWords {

namespace {

constexpr int maximumHalfPoints = 2 * 288;
/*! A deeper indent leaves no room for text in a panel. */
constexpr double maximumIndent = 144;
constexpr double maximumSpacing = 144;
constexpr double maximumTabStop = 1440;
constexpr qsizetype maximumTabStops = 32;
constexpr double twipsPerPoint = 20;

using Parameter = std::optional<int>;

template <typename Meaning>
struct Word
{
    std::string_view name;
    Meaning meaning;
};

bool isOn(Parameter parameter) { return parameter != 0; }

double points(Parameter twips, double maximum)
{
    return std::clamp(twips.value_or(0) / twipsPerPoint, -maximum, maximum);
}

double length(Parameter twips, double maximum) { return std::max(points(twips, maximum), 0.0); }

void addTabStop(RTFState &state, Parameter twips)
{
    if (state.paragraph.tabStops.size() < maximumTabStops)
        state.paragraph.tabStops.append(length(twips, maximumTabStop));
}

void resetCharacter(RTFState &state, Parameter)
{
    state.character = RTFCharacterFormat{.link = state.character.link};
}

constexpr auto formattings = std::to_array<Word<void (*)(RTFState &, Parameter)>>({
    {"b"sv, [](RTFState &s, Parameter p) { s.character.isBold = isOn(p); }},
    {"cf"sv, [](RTFState &s, Parameter p) { s.character.color = p.value_or(0); }},
    {"deleted"sv, [](RTFState &s, Parameter p) { s.character.isHidden = isOn(p); }},
    {"f"sv, [](RTFState &s, Parameter p) { s.character.font = p.value_or(0); }},
    {"fi"sv, [](RTFState &s, Parameter p) { s.paragraph.firstLineIndent = points(p, maximumIndent); }},
    {"fs"sv, [](RTFState &s,
                Parameter p) { s.character.halfPoints = std::clamp(p.value_or(0), 0, maximumHalfPoints); }},
    {"i"sv, [](RTFState &s, Parameter p) { s.character.isItalic = isOn(p); }},
    {"li"sv, [](RTFState &s, Parameter p) { s.paragraph.leftIndent = length(p, maximumIndent); }},
    {"pard"sv, [](RTFState &s, Parameter) { s.paragraph = NSParagraphStyle(); }},
    {"plain"sv, resetCharacter},
    {"qc"sv, [](RTFState &s, Parameter) { s.paragraph.alignment = NSTextAlignment::Center; }},
    {"qj"sv, [](RTFState &s, Parameter) { s.paragraph.alignment = NSTextAlignment::Justified; }},
    {"ql"sv, [](RTFState &s, Parameter) { s.paragraph.alignment = NSTextAlignment::Left; }},
    {"qr"sv, [](RTFState &s, Parameter) { s.paragraph.alignment = NSTextAlignment::Right; }},
    {"ri"sv, [](RTFState &s, Parameter p) { s.paragraph.rightIndent = length(p, maximumIndent); }},
    {"sa"sv, [](RTFState &s, Parameter p) { s.paragraph.spaceAfter = length(p, maximumSpacing); }},
    {"sb"sv, [](RTFState &s, Parameter p) { s.paragraph.spaceBefore = length(p, maximumSpacing); }},
    {"tx"sv, addTabStop},
    {"uc"sv, [](RTFState &s, Parameter p) { s.unicodeFallbackLength = std::max(p.value_or(1), 0); }},
    {"ul"sv, [](RTFState &s, Parameter p) { s.character.isUnderlined = isOn(p); }},
    {"uld"sv, [](RTFState &s, Parameter p) { s.character.isUnderlined = isOn(p); }},
    {"uldb"sv, [](RTFState &s, Parameter p) { s.character.isUnderlined = isOn(p); }},
    {"ulnone"sv, [](RTFState &s, Parameter) { s.character.isUnderlined = false; }},
    {"ulw"sv, [](RTFState &s, Parameter p) { s.character.isUnderlined = isOn(p); }},
    {"v"sv, [](RTFState &s, Parameter p) { s.character.isHidden = isOn(p); }},
});

constexpr auto characters = std::to_array<Word<char16_t>>({
    {"bullet"sv, u'\u2022'},
    {"cell"sv, u'\t'},
    {"emdash"sv, u'\u2014'},
    {"emspace"sv, u'\u2003'},
    {"endash"sv, u'\u2013'},
    {"enspace"sv, u'\u2002'},
    {"ldblquote"sv, u'\u201c'},
    {"line"sv, u'\u2028'},
    {"lquote"sv, u'\u2018'},
    {"page"sv, u'\n'},
    {"par"sv, u'\n'},
    {"qmspace"sv, u'\u2005'},
    {"rdblquote"sv, u'\u201d'},
    {"row"sv, u'\n'},
    {"rquote"sv, u'\u2019'},
    {"sect"sv, u'\n'},
    {"tab"sv, u'\t'},
});

constexpr auto destinations = std::to_array<Word<RTFDestination>>({
    {"NeXTGraphic"sv, RTFDestination::Skipped}, {"colortbl"sv, RTFDestination::ColorTable},
    {"filetbl"sv, RTFDestination::Skipped},     {"fldinst"sv, RTFDestination::FieldInstruction},
    {"fonttbl"sv, RTFDestination::FontTable},   {"footer"sv, RTFDestination::Skipped},
    {"footerf"sv, RTFDestination::Skipped},     {"footerl"sv, RTFDestination::Skipped},
    {"footerr"sv, RTFDestination::Skipped},     {"footnote"sv, RTFDestination::Skipped},
    {"header"sv, RTFDestination::Skipped},      {"headerf"sv, RTFDestination::Skipped},
    {"headerl"sv, RTFDestination::Skipped},     {"headerr"sv, RTFDestination::Skipped},
    {"info"sv, RTFDestination::Skipped},        {"listoverridetable"sv, RTFDestination::Skipped},
    {"listtable"sv, RTFDestination::Skipped},   {"nonshppict"sv, RTFDestination::Skipped},
    {"object"sv, RTFDestination::Skipped},      {"pict"sv, RTFDestination::Skipped},
    {"revtbl"sv, RTFDestination::Skipped},      {"shp"sv, RTFDestination::Skipped},
    {"stylesheet"sv, RTFDestination::Skipped},  {"tc"sv, RTFDestination::Skipped},
    {"xe"sv, RTFDestination::Skipped},
});

template <typename Meaning, size_t size>
std::optional<Meaning> find(const std::array<Word<Meaning>, size> &words, QByteArrayView name)
{
    const std::string_view wanted(name.data(), static_cast<size_t>(name.size()));
    const auto found = std::ranges::lower_bound(words, wanted, {}, &Word<Meaning>::name);
    return found != words.end() && found->name == wanted ? std::optional(found->meaning) : std::nullopt;
}

template <typename Meaning, size_t size>
constexpr bool isSorted(const std::array<Word<Meaning>, size> &words)
{
    return std::ranges::is_sorted(words, {}, &Word<Meaning>::name);
}
static_assert(isSorted(formattings) && isSorted(characters) && isSorted(destinations));

} // namespace

std::optional<char16_t> character(QByteArrayView word) { return find(characters, word); }

std::optional<RTFDestination> destination(QByteArrayView word) { return find(destinations, word); }

void applyFormatting(QByteArrayView word, std::optional<int> parameter, RTFState &state)
{
    if (const auto apply = find(formattings, word))
        (*apply)(state, parameter);
}

} // namespace Marblewick::RTFWords
