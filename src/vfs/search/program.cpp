#include "vfs/search/program.h"

namespace mrb::search {
namespace {

/// Builds from the end to the start, so that what follows a state is known when it is made.
class Compiler {
 public:
  Compiler(const Pattern& pattern, Groups groups) : nodes_(pattern.nodes), groups_(groups) {}

  Result<Program> run() {
    const std::uint32_t match = add({});
    program_.start = build(static_cast<std::uint32_t>(nodes_.size() - 1), match);
    if (full()) return Fail(ErrorKind::kInvalidArgument, "pattern too large");
    return std::move(program_);
  }

 private:
  [[nodiscard]] bool full() const { return program_.steps.size() > Program::kMaxInstructions; }

  std::uint32_t add(const Instruction& step) {
    program_.steps.push_back(step);
    return static_cast<std::uint32_t>(program_.steps.size() - 1);
  }

  /// The state that matches a node and goes on at `next`. Calls nest as deep as the pattern, which
  /// is limited.
  std::uint32_t build(std::uint32_t at, std::uint32_t next) {
    const Node& node = nodes_[at];
    if (full()) return next;
    switch (node.kind) {
      case NodeKind::kEmpty:
        return next;
      case NodeKind::kBytes:
        program_.sets.push_back(node.bytes);
        return add({Instruction::Kind::kBytes, NodeKind::kEmpty,
                    static_cast<std::uint32_t>(program_.sets.size() - 1), next, 0});
      case NodeKind::kSequence:
        for (auto part = node.children.rbegin(); part != node.children.rend(); ++part) {
          next = build(*part, next);
        }
        return next;
      case NodeKind::kChoice:
        return choice(node, next);
      case NodeKind::kRepeat:
        return repeat(node, next);
      case NodeKind::kGroup:
        return group(node, next);
      default:
        return add({Instruction::Kind::kAssert, node.kind, 0, next, 0});
    }
  }

  std::uint32_t mark(std::uint32_t number, std::uint32_t next) {
    return add({Instruction::Kind::kMark, NodeKind::kEmpty, number, next, 0});
  }

  std::uint32_t group(const Node& node, std::uint32_t next) {
    if (groups_ == Groups::kForgotten) return build(node.children[0], next);
    return mark(2 * node.group, build(node.children[0], mark(2 * node.group + 1, next)));
  }

  std::uint32_t choice(const Node& node, std::uint32_t next) {
    std::uint32_t all = build(node.children.back(), next);
    for (std::size_t i = node.children.size() - 1; i-- > 0;) {
      all = split(build(node.children[i], next), all);
    }
    return all;
  }

  std::uint32_t split(std::uint32_t one, std::uint32_t other) {
    return add({Instruction::Kind::kSplit, NodeKind::kEmpty, 0, one, other});
  }

  std::uint32_t repeat(const Node& node, std::uint32_t next) {
    const std::uint32_t body = node.children[0];
    const std::uint32_t after = next;
    if (node.most == Node::kEndless) {
      const std::uint32_t loop = split(0, next);
      const std::uint32_t inner = build(body, loop);
      program_.steps[loop].next = inner;
      next = loop;
    } else {
      for (std::uint32_t i = node.least; i < node.most && !full(); ++i) {
        const std::size_t before = program_.steps.size();
        const std::uint32_t one = build(body, next);
        if (program_.steps.size() == before) break;  // nothing, however often
        next = split(one, after);
      }
    }
    for (std::uint32_t i = 0; i < node.least && !full(); ++i) {
      const std::size_t before = program_.steps.size();
      next = build(body, next);
      if (program_.steps.size() == before) break;
    }
    return next;
  }

  const std::vector<Node>& nodes_;
  const Groups groups_;
  Program program_;
};

}  // namespace

Beside BesideOf(unsigned char byte) {
  if (byte == '\n') return Beside::kEnd;
  const bool is_word = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                       (byte >= '0' && byte <= '9') || byte == '_';
  return is_word ? Beside::kWord : Beside::kOther;
}

bool Holds(NodeKind assertion, Beside before, Beside after) {
  const bool is_edge = (before == Beside::kWord) != (after == Beside::kWord);
  switch (assertion) {
    case NodeKind::kLineStart:
      return before == Beside::kEnd;
    case NodeKind::kLineEnd:
      return after == Beside::kEnd;
    case NodeKind::kWordEdge:
      return is_edge;
    case NodeKind::kNoWordEdge:
      return !is_edge;
    case NodeKind::kNoWordBefore:
      return before != Beside::kWord;
    default:
      return after != Beside::kWord;
  }
}

Result<Program> Compile(const Pattern& pattern, Groups groups) {
  return Compiler(pattern, groups).run();
}

}  // namespace mrb::search
