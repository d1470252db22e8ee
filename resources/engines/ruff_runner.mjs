// Runs the linter that is a WebAssembly module over one file and prints what it finds as JSON.
//
//     node ruff_runner.mjs MODULE FILE RULE,RULE...
//     node ruff_runner.mjs MODULE

import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { setFlagsFromString } from "node:v8";

// The module runs once, over one file: optimising its ten megabytes takes ten times as long as using
// them as they are, and most of its functions are never called, so that each is looked at when it
// is. A runtime that does not know a flag goes on without it.
setFlagsFromString("--liftoff-only");
setFlagsFromString("--wasm-lazy-validation");

const [module, file, rules] = process.argv.slice(2);
const ruff = createRequire(import.meta.url)(module);

if (file === undefined) {
  console.log(`ruff ${ruff.Workspace.version()}`);
} else {
  const options = { "target-version": "py313", lint: { select: rules.split(",") } };
  const workspace = new ruff.Workspace(options, ruff.PositionEncoding.Utf32);
  const faults = workspace.check(readFileSync(file, "utf8")).map((found) => ({
    code: found.code === null || found.code === "invalid-syntax" ? "syntax" : found.code,
    line: found.start_location.row,
    column: found.start_location.column,
    message: found.message,
  }));
  console.log(JSON.stringify({ faults }));
}
