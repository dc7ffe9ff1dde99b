#include "memory/verbs/memory_service.h"

#include <exception>
#include <new>
#include <utility>

#include "common/answer.h"
#include "memory/context/context_registry.h"
#include "memory/context/memory_writer.h"
#include "memory/verbs/verb_table.h"

namespace mrb::memory {

class MemoryService::Impl {
 public:
  explicit Impl(MemoryOptions options)
      : options_(std::move(options)),
        contexts_(*options_.files, options_.contexts_folder, options_.changed) {
    if (!options_.embedder) options_.embedder = SystemEmbedder();
  }

  std::string execute(std::string_view bot, std::string_view verb, std::string_view rest) {
    const VerbRow* row = FindVerb(verb);
    if (row == nullptr) return ErrorAnswer("unknown memory verb '" + std::string(verb) + "'\n");
    if (row->run == nullptr) {
      return ErrorAnswer("'memory." + std::string(verb) + "' is not available in this build");
    }
    return row->run({contexts_, options_, *row, bot, verb, rest});
  }

  ContextRegistry& contexts() { return contexts_; }
  [[nodiscard]] const MemoryOptions& options() const { return options_; }

 private:
  MemoryOptions options_;
  ContextRegistry contexts_;
};

ContextRegistry& MemoryService::contexts() {
  return impl_->contexts();
}

MemoryWriter MemoryService::writer() {
  return {impl_->contexts(), impl_->options().embedder, impl_->options().now};
}

const MemoryOptions& MemoryService::options() const {
  return impl_->options();
}

MemoryService::MemoryService(MemoryOptions options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}

MemoryService::~MemoryService() = default;

std::string MemoryService::execute(std::string_view bot, std::string_view verb,
                                   std::string_view rest) {
  try {
    return impl_->execute(bot, verb, rest);
  } catch (const std::bad_alloc&) {
    return ErrorAnswer("out of memory");
  } catch (const std::exception& failure) {
    return ErrorAnswer(failure.what());
  }
}

}  // namespace mrb::memory
