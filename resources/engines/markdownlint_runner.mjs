// Runs the linter of Markdown, a library, over one file and prints what it finds as JSON.
//
//     node markdownlint_runner.mjs MODULE FILE
//     node markdownlint_runner.mjs MODULE
//
// MODULE is the package.json of the library. No settings but those below are read.

import { readFileSync } from "node:fs";
import { createRequire } from "node:module";

const [module, file] = process.argv.slice(2);
const about = JSON.parse(readFileSync(module, "utf8"));

// Of its rules those about what a reader meets as broken; the rest is a matter of habit.
const rules = ["MD001", "MD011", "MD018", "MD019", "MD024", "MD025", "MD042", "MD045", "MD051",
  "MD052", "MD056"];

if (file === undefined) {
  console.log(`markdownlint ${about.version}`);
} else {
  const library = createRequire(module)("./");
  const config = { default: false };
  for (const rule of rules) config[rule] = rule === "MD024" ? { siblings_only: true } : true;
  const found = library.sync({ strings: { work: readFileSync(file, "utf8") }, config }).work;
  console.log(JSON.stringify({
    faults: found.map((each) => ({
      code: each.ruleNames[0],
      line: each.lineNumber,
      column: each.errorRange === null ? 0 : each.errorRange[0],
      message: each.ruleDescription + (each.errorDetail ? ": " + each.errorDetail : ""),
    })),
  }));
}
