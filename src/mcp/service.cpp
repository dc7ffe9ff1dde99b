#include "mcp/service.h"

#include <algorithm>
#include <exception>
#include <optional>

#include "mcp/method.h"

namespace mrb::mcp {
namespace {

// A batch is answered by one thread, one message after the other; more than this is no use.
constexpr std::size_t kMaxInBatch = 100;

struct MethodRow {
  std::string_view name;
  Method run;
};

constexpr MethodRow kMethods[] = {
    {"initialize", &Initialize},
    {"ping", &EmptyResult},
    {"tools/list", &ListTools},
    {"tools/call", &CallTool},
    {"resources/list", &ListResources},
    {"resources/templates/list", &ListTemplates},
    {"resources/read", &ReadResource},
    {"resources/subscribe", &EmptyResult},
    {"resources/unsubscribe", &EmptyResult},
    {"prompts/list", &ListPrompts},
    {"prompts/get", &GetPrompt},
    {"completion/complete", &CompleteArgument},
    {"logging/setLevel", &EmptyResult},
};

/// A request's id as it was sent, "null" when it may not be one.
std::string_view IdOf(const JsonValue& message) {
  const JsonValue id = message.find("id");
  const bool usable = id.is(JsonValue::Kind::kNumber) || id.is(JsonValue::Kind::kString);
  return usable ? id.raw() : "null";
}

bool IsResponse(const JsonValue& message) {
  return message.find("id").exists() &&
         (message.find("result").exists() || message.find("error").exists());
}

std::unexpected<RpcError> InvalidRequest(std::string_view what) {
  return std::unexpected(RpcError{kInvalidRequest, "invalid request: " + std::string(what)});
}

}  // namespace

class McpService::Impl {
 public:
  explicit Impl(McpOptions options) : options_(options) {}

  server::JsonRpcAnswer answer(const server::JsonRpcCall& call) {
    if (!call.protocol_version.empty() && !IsKnownRevision(call.protocol_version)) {
      return bad_request("unsupported protocol version");
    }
    const auto document = JsonDocument::scan(call.body);
    const JsonValue root = document ? document->root() : JsonValue();
    const bool batch = root.is(JsonValue::Kind::kArray);
    if (!batch && !root.is(JsonValue::Kind::kObject))
      return bad_request("unrecognized protocol payload");

    server::JsonRpcAnswer answer;
    std::string session_id(call.session);
    if (session_id.empty() && root.find("method").text() == "initialize") {
      session_id = Sessions::new_id();
      answer.session = session_id;
    }
    const Sessions::SessionRef session = sessions_.of(session_id);
    auto body = batch ? answer_batch(call, *session, root) : answer_one(call, *session, root);
    if (!body) {
      answer.status = "202 Accepted";
    } else {
      answer.body = std::move(*body);
    }
    return answer;
  }

 private:
  static server::JsonRpcAnswer bad_request(std::string message) {
    server::JsonRpcAnswer answer;
    answer.status = "400 Bad Request";
    answer.body = ErrorMessage("null", {kInvalidRequest, std::move(message)});
    return answer;
  }

  std::optional<std::string> answer_batch(const server::JsonRpcCall& call, Session& session,
                                          const JsonValue& root) {
    const auto messages = root.elements();
    const auto refuse = [](std::string_view what) {
      return ErrorMessage("null", InvalidRequest(what).error());
    };
    if (messages.empty()) return refuse("an empty batch");
    if (messages.size() > kMaxInBatch) return refuse("a batch of more than 100 messages");
    if (!batches_allowed(session)) return refuse("this protocol revision has no batches");
    std::string all;
    for (const JsonValue& message : messages) {
      const auto one = answer_one(call, session, message);
      if (!one) continue;
      all += all.empty() ? "[" : ",";
      all += *one;
    }
    if (all.empty()) return std::nullopt;
    return all + "]";
  }

  static bool batches_allowed(Session& session) {
    const std::scoped_lock lock(session.mutex);
    return HasBatches(session.protocol);
  }

  /// Nothing for a notification, or a response: nothing is ever asked of the client.
  std::optional<std::string> answer_one(const server::JsonRpcCall& call, Session& session,
                                        const JsonValue& message) {
    const JsonValue method = message.find("method");
    const bool has_id = message.find("id").exists();
    if (!method.exists() && IsResponse(message)) return std::nullopt;
    if (method.is(JsonValue::Kind::kString) && !has_id) return std::nullopt;
    Outcome outcome;
    try {
      outcome = run(call, session, message);
    } catch (const std::exception& problem) {
      outcome = std::unexpected(RpcError{kInternalError, problem.what()});
    }
    return outcome ? ResultMessage(IdOf(message), *outcome)
                   : ErrorMessage(IdOf(message), outcome.error());
  }

  Outcome run(const server::JsonRpcCall& call, Session& session, const JsonValue& message) {
    if (!message.is(JsonValue::Kind::kObject)) return InvalidRequest("not an object");
    const JsonValue method = message.find("method");
    if (!method.exists()) return InvalidRequest("missing method");
    if (!method.is(JsonValue::Kind::kString)) return InvalidRequest("the method is no text");
    if (IdOf(message) == "null") return InvalidRequest("an id is a number or a text");
    const JsonValue version = message.find("jsonrpc");
    if (version.exists() && version.text() != "2.0") return InvalidRequest("not JSON-RPC 2.0");
    const std::string name = method.text();
    const JsonValue params = message.find("params");
    if (params.exists() && !params.is(JsonValue::Kind::kObject)) {
      return InvalidParams("params must be an object");
    }
    const MethodCall one{options_, call, session, params};
    if (name.starts_with("notifications/")) return EmptyResult(one);
    const auto row = std::ranges::find(kMethods, name, &MethodRow::name);
    if (row == std::end(kMethods)) {
      return std::unexpected(RpcError{kMethodNotFound, "method not found: " + name});
    }
    return row->run(one);
  }

  const McpOptions options_;
  Sessions sessions_;
};

McpService::McpService(McpOptions options) : impl_(std::make_unique<Impl>(options)) {}

McpService::~McpService() = default;

server::JsonRpcAnswer McpService::answer(const server::JsonRpcCall& call) {
  return impl_->answer(call);
}

}  // namespace mrb::mcp
