#include "mcp/tool_table.h"

namespace mrb::mcp {
namespace {

constexpr bool kNotBuilt = false;

constexpr Field kJobId{"jobid", FieldType::kWord, true, "The job's id, as job.status lists them."};

// The rows of a subsystem that this executable does not hold: listed, checked and refused.
constexpr Tool kTools[] = {
    {"workflow.list",
     "List the workflows that a job can follow.",
     {},
     "workflow.list --json",
     nullptr,
     kNotBuilt},
    {"workflow.show",
     "Show one workflow's steps.",
     {{"wfid", FieldType::kWord, true, "The workflow's id, as workflow.list names it."}},
     "workflow.show %wfid%",
     nullptr,
     kNotBuilt},
    {"job.status",
     "State of one job, or of all.",
     {{"jobid", FieldType::kWord, false, "A job's id; absent: all jobs."}},
     "job.status[ %jobid%]",
     nullptr,
     kNotBuilt},
    {"job.start",
     "Start a job: a workflow, carried out by workers on a project. Without apply it is only "
     "planned. Example: {\"wfid\":\"fix\",\"project\":\"app\",\"goal\":\"make the tests pass\"}",
     {{"wfid", FieldType::kWord, true, "The workflow to follow."},
      {"project", FieldType::kWord, true, "The project's name."},
      {"goal", FieldType::kLine, true, "What is to be reached, in one sentence."},
      {"branch", FieldType::kWord, false, "The branch to work on."},
      {"repo", FieldType::kLine, false, "The repository's folder."},
      {"apply", FieldType::kFlag, false, "true starts it; else it is only planned."}},
     "job.start %wfid% --project %project% --goal \"%goal%\"[ --branch %branch%][ --repo "
     "\"%repo%\"][%?apply% --apply]",
     nullptr,
     kNotBuilt},
    {"job.stop",
     "Stop a running job; it can be resumed.",
     {kJobId},
     "job.stop %jobid%",
     nullptr,
     kNotBuilt},
    {"job.resume", "Let a stopped job go on.", {kJobId}, "job.resume %jobid%", nullptr, kNotBuilt},
    {"job.drop",
     "Give up a job and what it has made.",
     {kJobId, {"apply", FieldType::kFlag, false, "true does it; else it is only shown."}},
     "job.drop %jobid%[%?apply% --apply]",
     nullptr,
     kNotBuilt},
    {"job.escalations",
     "Questions that jobs have for a person.",
     {{"jobid", FieldType::kWord, false, "Of one job; absent: of all."}},
     "job.escalations[ %jobid%]",
     nullptr,
     kNotBuilt},
    {"job.resolve",
     "Answer a job's question.",
     {kJobId,
      {"escalation", FieldType::kWord, true, "The question's id, as job.escalations lists it."},
      {"answer", FieldType::kText, true, "The answer."}},
     "job.resolve %jobid% %escalation% %answer%",
     nullptr,
     kNotBuilt},
    {"job.trace",
     "What a job has done, step by step.",
     {kJobId, {"format", FieldType::kWord, false, "How to show it, e.g. \"json\"."}},
     "job.trace %jobid%[ --format %format%]",
     nullptr,
     kNotBuilt},
};

}  // namespace

std::span<const Tool> JobTools() {
  return kTools;
}

}  // namespace mrb::mcp
