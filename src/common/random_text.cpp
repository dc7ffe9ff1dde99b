#include "common/random_text.h"

#include <random>

namespace mrb {

std::string RandomText(std::string_view digits, std::size_t length) {
  std::random_device random;
  std::uniform_int_distribution<std::size_t> place(0, digits.size() - 1);
  std::string text;
  text.reserve(length);
  while (text.size() < length) text += digits[place(random)];
  return text;
}

}  // namespace mrb
