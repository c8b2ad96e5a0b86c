#include <iostream>

#include "commands/commands.h"
#include "output/csv.h"

namespace tarnix::cli {

namespace {

std::vector<Record> recordsOf(Setup& setup, const std::filesystem::path& path) {
  History history(path);
  history.read(setup.problem);
  std::vector<Record> records = history.records();
  for (Record& record : records)
    if (record.failed.empty() && setup.problem.command)
      record.values = setup.model->values(record.x, record.results);
  return records;
}

}  // namespace

int commandTable(const ProblemArguments& arguments, const TableOptions& table,
                 const StudyOptions& options) {
  Setup setup(arguments.file, arguments.overrides);
  const ProblemFile& problem = setup.problem;
  StudyResult result;
  if (!table.designs.empty())
    result = evaluateAll(setup, studyPlaces(arguments.file, arguments.output, "table"), "table",
                         readDesigns(table.designs, problem), options);
  else
    result.records =
        recordsOf(setup, table.history.empty() ? Places(arguments.file, arguments.output).history
                                               : table.history);
  std::string csv = csvLine(recordHeads(problem));
  for (const Record& record : result.records) csv += csvLine(recordCells(problem, record));
  if (table.to.empty())
    std::cout << csv;
  else
    writeTextFile(table.to, csv);
  if (!table.designs.empty() || !table.to.empty())
    std::cerr << studyText(result, problem.command && !table.designs.empty());
  return studyExit(result);
}

}  // namespace tarnix::cli
