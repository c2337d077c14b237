#include "VantrelCore/Model/RecordNames.hpp"

#include "VantrelCore/Model/WhiteSpace.hpp"
#include "VantrelCore/Platform/SHA256.hpp"

#include <algorithm>
#include <cctype>
#include <stdexcept>
#include <unicode/locid.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace vantrel {
namespace {

icu::UnicodeString unicode(std::string_view text) {
  return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), std::int32_t(text.size())));
}

std::string utf8(const icu::UnicodeString& text) {
  std::string result;
  text.toUTF8String(result);
  return result;
}

/// Letters, marks and digits: a mark stays with the letter it belongs to.
bool isAlphanumeric(UChar32 c) {
  return (U_GET_GC_MASK(c) & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0;
}

} // namespace

void RecordNames::checkChosen(std::string_view name) {
  const bool printable = std::ranges::all_of(name, [](char c) { return c >= 0x21 && c <= 0x7e; });
  if (name.empty() || name.size() > 255 || !printable || name.front() == '_') {
    throw std::invalid_argument("invalid record name \"" + std::string(name) +
                                "\": use 1 to 255 printable ASCII characters, not starting with _");
  }
}

std::string RecordNames::random(std::string_view prefix, UUIDGenerator& uuids) {
  auto suffix = uuids.uuidString().substr(0, 6);
  for (auto& c : suffix) {
    c = char(std::tolower(static_cast<unsigned char>(c)));
  }
  return std::string(prefix) + suffix;
}

std::string RecordNames::normalizedAreaName(std::string_view name) {
  const auto trimmed = trimmingWhiteSpaceAndNewlines(name);
  return trimmed.empty() ? "Untitled" : std::string(trimmed);
}

std::string RecordNames::areaSlug(std::string_view name) {
  auto lowered = unicode(name);
  lowered.toLower(icu::Locale::getRoot());
  icu::UnicodeString slug;
  bool previousKept = false;
  for (std::int32_t i = 0; i < lowered.length(); i = lowered.moveIndex32(i, 1)) {
    const UChar32 c = lowered.char32At(i);
    if (isAlphanumeric(c)) {
      slug.append(c);
      previousKept = true;
    } else if (previousKept) {
      slug.append(UChar32('-'));
      previousKept = false;
    }
  }
  while (slug.length() > 0 && slug.charAt(slug.length() - 1) == u'-') {
    slug.truncate(slug.length() - 1);
  }
  return slug.isEmpty() ? "area" : utf8(slug);
}

std::string RecordNames::uniqueAreaRecordName(std::string_view name,
                                              const std::function<bool(std::string_view)>& isTaken) {
  const auto slug = areaSlug(name);
  if (!isTaken(slug)) {
    return slug;
  }
  for (int suffix = 2;; ++suffix) {
    auto candidate = slug + "-" + std::to_string(suffix);
    if (!isTaken(candidate)) {
      return candidate;
    }
  }
}

std::string RecordNames::userProjectPlacement(std::string_view userRef, std::string_view projectRef) {
  return perUser(userProjectPlacementPrefix, userRef, projectRef);
}

std::string RecordNames::userTaskSchedule(std::string_view userRef, std::string_view taskRef) {
  return perUser(userTaskSchedulePrefix, userRef, taskRef);
}

std::string RecordNames::userProjectSectionState(std::string_view userRef, std::string_view sectionRef) {
  return perUser(userProjectSectionStatePrefix, userRef, sectionRef);
}

std::string RecordNames::sharingUserName(std::string_view userRef) {
  return std::string(sharingUserNamePrefix) + std::string(userRef);
}

std::string RecordNames::perUser(std::string_view prefix, std::string_view userRef,
                                 std::string_view otherRef) {
  const auto joined = std::string(userRef) + "|" + std::string(otherRef);
  return std::string(prefix) + SHA256::hexDigest(joined).substr(0, 16);
}

} // namespace vantrel
