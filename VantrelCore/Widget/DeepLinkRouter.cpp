#include "VantrelCore/Widget/DeepLinkRouter.hpp"

#include <utility>

namespace vantrel {
namespace {

int hexValue(char character) {
  if (character >= '0' && character <= '9') {
    return character - '0';
  }
  if (character >= 'a' && character <= 'f') {
    return character - 'a' + 10;
  }
  if (character >= 'A' && character <= 'F') {
    return character - 'A' + 10;
  }
  return -1;
}

/// "%XX" sequences decoded; a '%' not followed by two hex digits stays as it is, and '+' stays '+'.
std::string percentDecoded(std::string_view text) {
  std::string decoded;
  for (std::size_t index = 0; index < text.size(); ++index) {
    if (text[index] == '%' && index + 2 < text.size() && hexValue(text[index + 1]) >= 0 &&
        hexValue(text[index + 2]) >= 0) {
      decoded += static_cast<char>(hexValue(text[index + 1]) * 16 + hexValue(text[index + 2]));
      index += 2;
    } else {
      decoded += text[index];
    }
  }
  return decoded;
}

/// The parts of a URL the router reads: its scheme, its host, and its query (without the fragment).
struct LinkParts {
  std::string_view scheme;
  std::string_view host;
  std::string_view query;
};

std::optional<LinkParts> partsOf(std::string_view url) {
  const auto colon = url.find(':');
  if (colon == std::string_view::npos || colon == 0) {
    return std::nullopt;
  }
  LinkParts parts{.scheme = url.substr(0, colon), .host = {}, .query = {}};
  auto rest = url.substr(colon + 1);
  rest = rest.substr(0, rest.find('#'));
  if (const auto question = rest.find('?'); question != std::string_view::npos) {
    parts.query = rest.substr(question + 1);
    rest = rest.substr(0, question);
  }
  // Only an authority ("//host") names a host: its name without user and port. "vantrel:today" has none;
  // "today" there is a path.
  if (!rest.starts_with("//")) {
    return parts;
  }
  rest = rest.substr(2);
  rest = rest.substr(0, rest.find('/'));
  if (const auto at = rest.rfind('@'); at != std::string_view::npos) {
    rest = rest.substr(at + 1);
  }
  parts.host = rest.substr(0, rest.find(':'));
  return parts;
}

} // namespace

bool DeepLinkRouter::handle(std::string_view url) {
  const auto parts = partsOf(url);
  if (!parts || parts->scheme != "vantrel" || parts->host != "today") {
    return false;
  }
  for (std::string_view items = parts->query; !items.empty();) {
    const auto ampersand = items.find('&');
    const auto item = items.substr(0, ampersand);
    items = ampersand == std::string_view::npos ? std::string_view() : items.substr(ampersand + 1);
    const auto equals = item.find('=');
    if (percentDecoded(item.substr(0, equals)) != "gap") {
      continue;
    }
    // The first "gap" item decides, even when it is empty.
    if (equals != std::string_view::npos) {
      if (auto gap = percentDecoded(item.substr(equals + 1)); !gap.empty()) {
        pendingFocusGapID_ = std::move(gap);
      }
    }
    break;
  }
  ++todayRequestToken_;
  changed();
  return true;
}

void DeepLinkRouter::consumePendingFocus() {
  if (pendingFocusGapID_) {
    pendingFocusGapID_.reset();
    changed();
  }
}

} // namespace vantrel
