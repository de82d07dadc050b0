#include "cli/arguments/arguments.h"

namespace tervo::cli {

void addBatchCommand(CLI::App& app, CommandLine& line, Collected& got) {
  CLI::App* batch = addCommand(app, line, got, "batch", "convert many files into up to four formats", Command::batch);
  addFiles(*batch, got, "files, and folders with all that is below them");
  batch->add_option("--to", got.rows, "target rows: indices, extensions or descriptions; up to four")
      ->type_name("ROW[,ROW...]")
      ->required()
      ->expected(1)
      ->take_all();
  batch->add_option("-d,--directory", got.folder, "where the targets go; folders below a source are kept")
      ->type_name("FOLDER")
      ->required()
      ->check(checkFileName);
  batch->add_option("-j,--jobs", line.batch.workers, "how many files at once, else one a processor")
      ->type_name("N")
      ->check(unmentioned(CLI::Range(1, 256)));
  batch->add_flag("--dry-run", line.batch.dryRun, "say what would be done");
  batch->add_flag("--resume", line.batch.resume, "leave out what an earlier run has finished");
  batch
      ->add_option("--stall", line.batch.stallSeconds,
                   "give a file up that does not advance for so long (else 600; 0: never)")
      ->type_name("SECONDS")
      ->check(unmentioned(CLI::Range(0.0, 86400.0)));
  addReadOptions(*batch, line, got);
  addSaveOptions(*batch, line, got);
  addRenderOptions(*batch, line, got);
}

void completeBatch(CommandLine& line, const Collected& got) {
  line.batch.rows = texts(got.rows);
  line.batch.folder = named(got.folder);
}

}  // namespace tervo::cli
