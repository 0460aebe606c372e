// trova check: is a statement right?
#include <unistd.h>

#include <memory>

#include "commands.h"
#include "handles.h"
#include "output.h"
#include "statement_fault.h"
#include "statement_source.h"

namespace trova_cli {
namespace {

ExitCode Check(const StatementSource& source) {
  const Engine engine;
  NameLists lists;
  const ExpandedStatement statement = ExpandBraces(source.Read(), lists);
  const bool needs_seed = CheckStatement(statement, lists);
  Output output(STDOUT_FILENO);
  output.Write(needs_seed ? "ok, needs a seed\n" : "ok\n");
  output.Flush();
  return kExitResults;
}

}  // namespace

Action DefineCheck(CLI::App& options) {
  const auto source = std::make_shared<StatementSource>();
  source->Define(options);
  return [source](Console&) { return Check(*source); };
}

}  // namespace trova_cli
