// The verb registry, the manual's only source. A row without a function is a verb that this build
// does not have; it stays in the manual's order.

#include <array>

#include "memory/verbs/verb_table.h"

namespace mrb::memory {

namespace {

// clang-format off
constexpr auto kRows = std::to_array<VerbRow>({
    // verb, aliases, siblings, usage, summary, note, function
    {"add", "", "",
     "memory.add <botid>, <context>, <topic>, <keywords>, <content>",
     "Save a memory: topic + content. Keywords are AUTO-EXTRACTED from the content (common "
     "words filtered, same tokenizer as the Mirebolt memo add); the <kw,...> field is an "
     "optional boost — leave it empty. Same topic = REPLACE.",
     "You get better hits this way — the index vocabulary comes from the content itself, "
     "not from what you remembered to pass. New keywords thesaurus-link to related "
     "in-context keywords at add time, both ways.",
     RunAdd},
    {"addmemo", "", "",
     "memory.addmemo <botid>, <context>, <topic>, <keywords>, <props>, <content>",
     "APPEND another memo to a topic's list — each memo is its own record on the data heap, "
     "typed by a property bitmask. Keywords AUTO-EXTRACTED like add.",
     "A topic is a LIST of memos (like a keyword's reference list). Unlike add (same topic "
     "= REPLACE), addmemo accumulates in append order; a missing topic is created with this "
     "memo as entry 1. Properties are set at creation — | ORs them together (a memo can be "
     "procedure AND usage); & is for testing bits later.",
     RunAddMemo},
    {"memos", "enumerate", "",
     "memory.memos <botid>, <context>, <topic>",
     "Enumerate a topic's memos: position, properties, first line of each.",
     "The positions it shows are what getmemo and deletememo take. Alias: enumerate.",
     RunMemos},
    {"getmemo", "", "",
     "memory.getmemo <botid>, <context>, <topic>, <n>",
     "Get ONE memo from a topic by its 1-based position — full content plus its properties.",
     "retrieve returns the whole topic joined; getmemo pulls a single entry.",
     RunGetMemo},
    {"deletememo", "", "",
     "memory.deletememo <botid>, <context>, <topic>, <n>",
     "Remove ONE memo from a topic's list by its 1-based position (append order).",
     "The last memo leaving removes the topic — a topic IS its memo list. delete still "
     "removes a whole topic at once. memos shows the positions.",
     RunDeleteMemo},
    {"retrieve", "", "",
     "memory.retrieve <botid>, <context>, <topic>",
     "Get a topic's memos, append order, by topic.",
     "Returns content only (memos joined by newline); touches the topic to "
     "most-recently-used. Missing topic -> empty.",
     RunRetrieve},
    {"keywords", "keyword", "",
     "memory.keywords <botid>, <context>, <keyword>     (multi-word queries rank by "
     "coverage and ALSO reach the synonym/thematic webs: exact 1, semantic .5, thematic .25 "
     "per term; a single-word miss cascades)",
     "Find the topics linked to a keyword; related in-context keywords (with topic counts) "
     "ride along free.",
     "Related terms were linked at ADD time — zero thesaurus work at search time. A miss "
     "answers with related vocabulary that IS in memory, so a wrong guess still lands "
     "within one hop.",
     RunKeywords},
    {"delete", "remove", "",
     "memory.delete <botid>, <context>, <topic>",
     "Remove a memory by topic (compacts RAM, rewrites disk).",
     "The previous file is kept at <data>.last as the crash net.",
     RunDelete},
    {"striptotokens", "", "",
     "memory.striptotokens <text>",
     "Words only: [a-z0-9] runs, case-folded; every other byte — ()=>?.| etc — is a "
     "separator and can never appear in a token. Common words filtered, deduped.",
     "",
     RunStripToTokens},
    {"indexdir", "", "",
     "memory.indexdir <botid>, <context>, <source_dir>",
     "Make a directory keyword-retrievable: each file becomes a memory (filename = topic, "
     "StripToTokens(filename) = keywords). The context is the directory.",
     "",
     RunIndexDir},
    {"query", "memquery querymemo qmemo", "",
     "memory.query <botid>, <context>, <?()-expr>",
     "Boolean ?() search over ONE named context's MEMOS with globs — explicit per-call "
     "scope, returns the matching topic#n ids (ready for getmemo / register chaining).",
     "",
     RunQuery},
    {"contexts", "browse list", "",
     "memory.contexts <botid>\nmemory.browse <botid>, <context>",
     "Browse the pipeline's context lineup: list every bucket (loaded or on disk) with "
     "topic counts and sizes; name a context to browse INTO it and see its topics.",
     "",
     RunContexts},
    {"w5", "frame", "",
     "memory.w5 <botid>, <context>, <topic>",
     "Dump a topic's wwwww — its five dangling lists: who/what/when/where/why, extracted "
     "from the memo+topic pair at add/load time (the 5W web; docs\\design\\w5-web.md).",
     "The webs are DERIVED, never stored — every existing store grows them retroactively on "
     "load, zero re-ingest. The topic contributes default WHEN (session dates in topic "
     "names) and the speaker prefix default WHO. Alias: frame.",
     RunW5},
    {"who", "", "when where why",
     "memory.who <botid>, <context>, <term>     (also memory.when / memory.where / "
     "memory.why)",
     "Inbound 5W lookup: which topics carry <term> on the WHO web (speakers, names). Also: "
     "when / where / why — same shape, their own webs.",
     "Prefix match, forgiving by doctrine. WHEN stamps are normalized yyyy[-mm[-dd]] so "
     "'memory.when ..., 2023-05' finds every day of that month, and day-math is string "
     "order. The SAME analyzer runs on questions as on memos — a systematic "
     "misclassification cancels (wrong twice is right), so route a question's known Ws in "
     "as filters and read its asked W back.",
     RunWho},
    {"update", "updatememo edit", "",
     "memory.update <botid>, <context>, <topic>, <n>, <keywords>, <props>, <content>",
     "REPLACE one memo IN PLACE by its 1-based position: new keywords, type(s) and content "
     "in the SAME slot, fresh write time. Memory is current state, not history — an edit "
     "overwrites, it never chains.",
     "Use it when a fact changed (a port, a decision, a status) — the memo keeps its "
     "position so notes that cite topic#n still point at the truth. To keep the old version "
     "as history, addmemo a new memo instead and leave the old one. Aliases: updatememo, "
     "edit.",
     RunUpdate},
    {"stats", "stat", "",
     "memory.stats <botid>, <context>",
     "One grab of a context's shape: topics, memos, keywords, temporal keys, vectors, model "
     "types (each one's labels, keyed memos, mark, CURRENT/BEHIND), bytes, the span of "
     "write times.",
     "Cheap and read-only. 'untimed' counts memos migrated from a pre-timestamp (MRB2) "
     "store — they sort last in recent.",
     RunStats},
    {"recent", "latest", "",
     "memory.recent <botid>, <context>, <N=20>",
     "The N most recently WRITTEN memos across the whole context, newest first (topic#n, "
     "type(s), time, first line).",
     "The what-changed-lately view — resume a session from here. Untimed (migrated) memos "
     "sort last. Alias: latest.",
     RunRecent},
    {"lint", "check verify", "",
     "memory.lint <botid>, <context>",
     "Cross-check a context's RAM indexes against its record buffer and its disk file. "
     "Read-only; one line per finding, 'clean' when nothing is wrong.",
     "Run it when a store looks odd (counts disagree, a getmemo misses). Findings name the "
     "topic/memo; delete + re-add of that memo (or memory.export / import into a fresh "
     "context) is the repair. Aliases: check, verify.",
     RunLint},
    {"search", "find", "",
     "memory.search <botid>, {ctxA,ctxB}|*, <query words>",
     "Keyword search ACROSS contexts at once — a brace list of contexts, or * for every "
     "LOADED context. Hits rank by how many query words each memo covers.",
     "* never sweeps every store on disk (a 10M-memo bucket is a real thing) — it covers "
     "what this server has loaded; name the contexts to load them. Per-context hits cap at "
     "20. Alias: find.",
     RunSearch},
    {"export", "", "",
     "memory.export <botid>, <context>, <dest-file-or-dir>",
     "Copy a context's whole store (self-contained MRB4 data.mrb4: every memo, keyword, "
     "type, timestamp, inline vector) to a file.",
     "",
     RunExport},
    {"import", "", "",
     "memory.import <botid>, <context>, <src-file>",
     "Merge a store file (MRB4 data.mrb4, or a legacy MRB2/MRB3 data.mem) INTO a context: "
     "every memo appended in source order with its topic, keywords, type(s), write time and "
     "inline vector. Nothing already there is replaced.",
     "",
     RunImport},
    {"rename", "", "",
     "memory.rename <botid>, <context>, <new-id>",
     "Rename a context — its directory moves, context.id is rewritten, nothing is copied or "
     "lost.",
     "",
     RunRename},
    {"purge", "", "",
     "memory.purge <botid>, <context>",
     "Retire a whole context: its directory moves to <contexts>\\.purged\\<id>-<unix-time>. "
     "Never a hard delete.",
     "",
     RunPurge},
    {"archive", "", "unarchive",
     "memory.archive <botid>, <context>\nmemory.unarchive <botid>, <context>",
     "Park a context out of the lineup: its directory moves to <contexts>\\.archive\\<id>; "
     "unarchive brings it back exactly.",
     "",
     RunArchive},
    {"clone", "", "",
     "memory.clone <botid>, <context>, <dst-context>",
     "Exact twin of a context into an EMPTY one: every topic, every memo, same types, "
     "append order kept.",
     "",
     RunClone},
    {"temporal", "", "",
     "memory.temporal <botid>, <context>, <keyword>",
     "Time-web lookup: which memos mention a date/period — yyyy, yyyy-mm, yyyy-mm-dd, month "
     "names, 'last week', numeric dates (all normalized at add/load time).",
     "Prefix match on the normalized stamp: '2026-09' hits every day of that month. chain "
     "walks a topic's memos in time order.",
     RunTemporal},
    {"chain", "", "",
     "memory.chain <botid>, <context>, <topic>",
     "A topic's memos ordered along the time web — the story in sequence rather than append "
     "order.",
     "Derived, never stored; any store grows it on load.",
     RunChain},
    {"semantic", "", "",
     "memory.semantic <botid>, <context>, <phrase>",
     "Embedding-similarity recall (the opt-in SEMANTIC lane): nearest memos to a phrase, by "
     "vector. Needs the lane armed (memory.embed on) and memos embedded at write time.",
     "",
     RunSemantic},
    {"embed", "", "",
     "memory.embed <botid>, <context>, on|off|status",
     "Arm / disarm / inspect a context's semantic lane. Armed = every add/addmemo/update "
     "also stores an inline embedding (ollama, see vector.h).",
     "",
     RunEmbed},
    {"w5build", "", "",
     "memory.w5build <botid>, <context>, -",
     "Build the PARALLEL 5W-organized shadow context <context>_w5: topics are W tokens "
     "(who_x / when_yyyy-mm-dd / where_x / why_x), memos are '[srcTopic#n] sentence' rows.",
     "An ordinary context afterwards — keyword-searchable, ?()-queryable, deletable to "
     "ditch the experiment.",
     RunW5Build},
    {"models", "modeltypes", "",
     "memory.models <botid>, <context>",
     "List the model types registered with a context — each one's private grouping over the "
     "memos: topic labels held, memos keyed, and whether it is CURRENT (high-water mark at "
     "the end of the store) or BEHIND (unkeyed memos above its mark). Read-only.",
     "",
     RunModels},
    {"cachekeys", "modelkeys", "",
     "memory.cachekeys <botid>, <context>, <modeltype>|local [, <page=20>]",
     "Load a model type's reverse cache: registers the type if new, returns its topic table "
     "(label + memo count) and a PAGE of its worklist — the memos above its high-water mark "
     "it has not keyed, with content. Every write appends, so the unkeyed memos are always "
     "the suffix above the mark: no pending flag, no scan.",
     "",
     RunCacheKeys},
    {"cachekey", "setcachekey", "",
     "memory.cachekey <botid>, <context>, <modeltype>, @<off>=<label>; @<off>=<label>; "
     "<topic>#<n>=<label>",
     "Store a BATCH of cache keys a model type generated: memo -> topic label. Address a "
     "memo by @<offset> (as the worklist prints it) or by <topic>#<n>. A first-seen label "
     "joins the model's topic table; a known label just gains the memo. The mark advances "
     "over the keyed prefix.",
     "",
     RunCacheKey},
    {"modelkeywords", "modelkeyword", "",
     "memory.modelkeywords <botid>, <context>, <modeltype>|local, <query>",
     "Recall through a model type's OWN topic table: the query's words hit its labels, the "
     "labels enumerate their memos (one line per memo: topic#n, type, label). Blocked while "
     "that type is BEHIND — its own recall only; the shared verbs never block.",
     "",
     RunModelKeywords},
    {"forgetmodel", "dropmodel", "",
     "memory.forgetmodel <botid>, <context>, <modeltype>",
     "Drop a model type from a context: its topic table, every key and its overlay file. "
     "Memos untouched.",
     "",
     RunForgetModel},
    {"help", "? manifest", "",
     "memory.help",
     "Show this full capability reference.",
     "Generated from the live registry — it can't go stale.",
     RunHelp},
});
// clang-format on

}  // namespace

std::span<const VerbRow> VerbRows() {
  return kRows;
}

}  // namespace mrb::memory
