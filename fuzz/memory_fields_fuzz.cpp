#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "check.h"
#include "memory/record/context_id.h"
#include "memory/record/memo_types.h"
#include "memory/text/tokenizer.h"
#include "memory/verbs/fields.h"

// The line behind a memory verb: its fields, what is read from them, and the tokens of its content.

namespace {

using namespace mrb::memory;

void CheckFields(std::string_view text, std::size_t limit) {
  const auto fields = SplitFields(text, limit);
  FUZZ_CHECK(!fields.empty() && fields.size() <= limit);
  const char* at = text.data();
  for (const std::string_view field : fields) {  // in order, inside the text, none overlapping
    if (field.empty()) continue;
    FUZZ_CHECK(field.data() >= at && field.data() + field.size() <= text.data() + text.size());
    at = field.data() + field.size();
  }
  for (const std::string& context : SplitContexts(fields.back())) {
    if (CheckContextId(context)) {
      FUZZ_CHECK(!context.empty() && context.find_first_of("/\\") == std::string::npos);
      FUZZ_CHECK(context.front() != '.' && context.size() <= kMaxContextIdBytes);
    }
  }
  if (const auto types = ParseMemoTypes(fields.back())) {
    FUZZ_CHECK(*types < 1U << 16U &&
               (*types == 0 || ParseMemoTypes(FormatMemoTypes(*types)).value() == *types));
  }
}

void CheckTokens(std::string_view text) {
  const TokenList tokens = StripToTokens(text);
  std::string joined;
  for (const std::string_view token : tokens.views()) {
    FUZZ_CHECK(token.size() >= kMinTokenBytes && token.size() <= kMaxTokenBytes);
    FUZZ_CHECK(token.front() != '.' && token.back() != '.');
    joined.append(token).append(" ");
  }
  const TokenList again = StripToTokens(joined);  // tokens are their own tokens
  FUZZ_CHECK(std::ranges::equal(again.views(), tokens.views()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  for (const std::size_t limit : {1U, 2U, 7U}) CheckFields(text, limit);
  for (const std::string& keyword : SplitKeywords(text)) {
    FUZZ_CHECK(keyword.size() <= size);
  }
  CheckTokens(text);
  return 0;
}
