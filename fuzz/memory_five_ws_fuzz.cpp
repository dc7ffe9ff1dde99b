#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "memory/recall/temporal_query.h"
#include "memory/text/five_ws.h"

// Who, when, where and why of a text: a memo's or a question's. The first line is the topic.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace mrb::memory;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string_view topic = text.substr(0, text.find('\n'));
  const std::string_view content = text.substr(std::min(size, topic.size() + 1));
  for (const std::uint64_t now :
       {std::uint64_t{0}, std::uint64_t{1'700'000'000}, ~std::uint64_t{0}}) {
    FiveWs frame;
    frame.read(content, topic, now);
    for (const FiveWs::Term& term : frame.terms()) {
      FUZZ_CHECK(!frame.name(term).empty() && frame.name(term).size() <= 255);
      FUZZ_CHECK(term.position < content.size());
      (void)frame.sentence_at(term.position);
    }
    for (const FiveWs::Date& date : frame.dates()) {
      FUZZ_CHECK(IsDate(date.stamp.year(), date.stamp.month(), date.stamp.day()));
      FUZZ_CHECK(date.position <= content.size());
      (void)frame.sentence_at(date.position);
    }
    (void)ReadTemporalQuery(content, now).text();
  }
  return 0;
}
