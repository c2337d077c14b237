#include "VantrelCore/Model/LastEditedFormat.hpp"

#include "VantrelCore/Platform/ProgramError.hpp"
#include "VantrelCore/Platform/TimeZoneDatabase.hpp"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>

namespace vantrel {
namespace {

// ICU does not promise that a SimpleDateFormat may be used from several threads at once, so the one
// formatter is used under a lock. A stamp is made once per save, so the lock is never contended enough to
// justify a formatter per thread.
std::mutex& formatterMutex() {
  static std::mutex mutex;
  return mutex;
}

icu::SimpleDateFormat& sharedFormatter() {
  // A function-local static, so the formatter is made exactly once even when the first calls race.
  static const std::unique_ptr<icu::SimpleDateFormat> formatter = [] {
    UErrorCode status = U_ZERO_ERROR;
    // en_US_POSIX rather than the device locale: a machine format must not pick up another locale's digits
    // or calendar.
    auto made = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString(u"yyyy-MM-dd'T'HH:mm:ss'Z'"),
                                                        icu::Locale("en_US_POSIX"), status);
    if (U_FAILURE(status)) {
      programError(std::string("cannot create the last-edited formatter: ") + u_errorName(status));
    }
    made->adoptTimeZone(TimeZoneDatabase::utc().release());
    made->setLenient(false);
    return made;
  }();
  return *formatter;
}

} // namespace

std::string LastEditedFormat::string(Date instant) {
  icu::UnicodeString text;
  {
    const std::lock_guard lock(formatterMutex());
    sharedFormatter().format(instant.icuMilliseconds(), text);
  }
  std::string utf8;
  text.toUTF8String(utf8);
  return utf8;
}

std::optional<Date> LastEditedFormat::date(std::string_view text) {
  // ICU accepts a stamp that stops short of the closing 'Z', but without it the text does not say UTC.
  if (!text.ends_with('Z')) {
    return std::nullopt;
  }
  const auto input = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), std::int32_t(text.size())));
  icu::ParsePosition position(0);
  UDate millis = 0;
  {
    const std::lock_guard lock(formatterMutex());
    millis = sharedFormatter().parse(input, position);
  }
  if (position.getErrorIndex() >= 0 || position.getIndex() != input.length()) {
    return std::nullopt;
  }
  return Date::fromICUMilliseconds(millis);
}

} // namespace vantrel
