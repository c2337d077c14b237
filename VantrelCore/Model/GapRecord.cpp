#include "VantrelCore/Model/GapRecord.hpp"

#include <charconv>
#include <tuple>
#include <vector>

namespace vantrel {
namespace {

/// A whole decimal integer with an optional '+', nothing else around it.
std::optional<int> decimal(std::string_view text) {
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
      return std::nullopt;
    }
  }
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return value;
}

std::vector<std::string_view> nonEmptyPieces(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  while (!text.empty()) {
    const auto at = text.find(separator);
    if (const auto piece = text.substr(0, at); !piece.empty()) {
      pieces.push_back(piece);
    }
    text = at == std::string_view::npos ? std::string_view() : text.substr(at + 1);
  }
  return pieces;
}

} // namespace

std::optional<int> GapRecord::minutesOfDay(std::string_view time) {
  const auto pieces = nonEmptyPieces(time, ':');
  if (pieces.size() != 2) {
    return std::nullopt;
  }
  const auto hour = decimal(pieces[0]);
  const auto minute = decimal(pieces[1]);
  if (!hour || !minute || *hour < 0 || *hour > 23 || *minute < 0 || *minute > 59) {
    return std::nullopt;
  }
  return *hour * 60 + *minute;
}

bool GapRecord::sameTime(std::string_view left, std::string_view right) {
  const auto leftMinutes = minutesOfDay(left);
  const auto rightMinutes = minutesOfDay(right);
  return leftMinutes || rightMinutes ? leftMinutes == rightMinutes : left == right;
}

std::string GapRecord::normalizedTime(std::string_view time) {
  const auto minutes = minutesOfDay(time);
  if (!minutes) {
    return std::string(time);
  }
  const auto twoDigits = [](int value) {
    return std::string{char('0' + value / 10), char('0' + value % 10)};
  };
  return twoDigits(*minutes / 60) + ":" + twoDigits(*minutes % 60);
}

bool GapRecord::dayOrder(const GapRecord& left, const GapRecord& right) {
  // Unreadable times sort after every time of day; among themselves by text.
  const auto key = [](const GapRecord& gap) {
    const auto minutes = gap.startMinutes();
    return std::tuple(!minutes, minutes.value_or(0),
                      minutes ? std::string_view() : std::string_view(gap.time), gap.sortIndex,
                      std::string_view(gap.recordName));
  };
  return key(left) < key(right);
}

} // namespace vantrel
