// files/restore and files/revert, and how routes find what they are about.

#include "workstation/route_context.h"

namespace mrb::workstation {
namespace {

std::unexpected<Error> Refused(const vfs::VersionStore& store) {
  return Fail(ErrorKind::kInvalidArgument, store.message());
}

Answer Done(const HeldFile& held) {
  JsonWriter json = BeginAnswer();
  json.field("version", held.file->version).field("notice", held.store->message());
  return EndAnswer(json);
}

}  // namespace

Result<std::shared_ptr<vfs::VersionStore>> StoreOf(RouteContext& route, const Params& params) {
  const auto wanted = params.needed("store");
  if (!wanted) return std::unexpected(wanted.error());
  for (auto& store : route.parts.files.stores().all()) {
    if (StoreId(*store) == *wanted) return store;
  }
  return Fail(ErrorKind::kNotFound, "no such store");
}

Result<std::vector<std::shared_ptr<vfs::VersionStore>>> StoresOf(RouteContext& route,
                                                                 const Params& params) {
  if (!params.text("store").empty()) {
    auto one = StoreOf(route, params);
    if (!one) return std::unexpected(one.error());
    return std::vector{*std::move(one)};
  }
  auto stores = route.parts.files.stores().all();
  std::erase_if(stores, [](const auto& store) {
    return store->is_cache() || store->category() == vfs::StoreCategory::kConfiguration;
  });
  return stores;
}

Result<HeldFile> FileOf(RouteContext& route, const Params& params) {
  auto store = StoreOf(route, params);
  if (!store) return std::unexpected(store.error());
  const auto path = params.needed("path");
  if (!path) return std::unexpected(path.error());
  HeldFile held{*store, (*store)->lock(), nullptr};
  held.file = held.store->find(*path);
  if (held.file == nullptr || held.file->history.empty()) {
    return Fail(ErrorKind::kNotFound, "no such file: " + *path);
  }
  return held;
}

Answer AnswerRestore(RouteContext& route, const Params& params) {
  const auto held = FileOf(route, params);
  if (!held) return std::unexpected(held.error());
  held->store->set_author(route.parts.author());
  if (!held->store->restore(held->file)) return Refused(*held->store);
  return Done(*held);
}

Answer AnswerRevert(RouteContext& route, const Params& params) {
  const auto version = params.number("version", 0, UINT32_MAX);
  if (!version) return std::unexpected(version.error());
  const auto held = FileOf(route, params);
  if (!held) return std::unexpected(held.error());
  held->store->set_author(route.parts.author());
  if (!held->store->revert(held->file, static_cast<std::uint32_t>(*version))) {
    return Refused(*held->store);
  }
  return Done(*held);
}

}  // namespace mrb::workstation
