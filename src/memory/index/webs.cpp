#include "memory/index/webs.h"

#include "common/parallel.h"
#include "memory/index/index_tables.h"

namespace mrb::memory {

void Webs::add(std::uint32_t row, const RecordView& record) {
  five_ws_.read(record.content, record.topic, record.written);
  for (const FiveWs::Term& term : five_ws_.terms()) {
    terms_[static_cast<std::size_t>(term.web)].add(five_ws_.name(term), row);
  }
  dates_.clear();
  for (const FiveWs::Date& date : five_ws_.dates()) {
    dates_.push_back(date.stamp);
  }
  time_.add(row, dates_);
}

void Webs::append(const Webs& later) {
  for (std::size_t web = 0; web < kWebs; ++web) {
    terms_[web].append(later.terms_[web]);
  }
  time_.append(later.time_);
}

void Webs::finish() {
  for (TermWeb& web : terms_) {
    web.order();
  }
  time_.link();
}

std::unique_ptr<Webs> Webs::build(const RecordHeap& heap, const MemoTable& memos,
                                  std::size_t threads) {
  const std::uint32_t rows = memos.size();
  std::vector<std::unique_ptr<Webs>> ranges(threads);
  RunParallel(threads, [&](std::size_t i) {
    ranges[i] = std::make_unique<Webs>();
    Webs& webs = *ranges[i];
    webs.time_.defer_chain();
    const auto bound = [&](std::size_t n) {
      return static_cast<std::uint32_t>(std::uint64_t{rows} * n / threads);
    };
    for (std::uint32_t row = bound(i); row < bound(i + 1); ++row) {
      webs.add(row, RecordOf(heap, memos, row));
    }
  });
  for (std::size_t i = 1; i < threads; ++i) {
    ranges[0]->append(*ranges[i]);
    ranges[i].reset();
  }
  ranges[0]->finish();
  return std::move(ranges[0]);
}

}  // namespace mrb::memory
