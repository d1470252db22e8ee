// Runs the grammar checker that is a WebAssembly module over one file and prints what it finds as
// JSON.
//
//     node harper_runner.mjs MODULE FILE
//     node harper_runner.mjs MODULE
//
// MODULE is the package.json of the library.

import { readFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { pathToFileURL } from "node:url";

const [module, file] = process.argv.slice(2);
const about = JSON.parse(readFileSync(module, "utf8"));

if (file === undefined) {
  console.log(`harper ${about.version}`);
} else {
  const part = (name) => import(pathToFileURL(join(dirname(module), "dist", name)));
  const { LocalLinter, Dialect } = await part("index.js");
  const { binary } = await part("binary.js");
  const linter = new LocalLinter({ binary, dialect: Dialect.American });
  const text = readFileSync(file, "utf8");
  const faults = [];
  for (const found of await linter.lint(text, { language: "plaintext" })) {
    // Offsets count units of UTF-16, as texts do here; columns count characters.
    const { start, end } = found.span();
    const before = text.slice(0, start);
    const lineStart = before.lastIndexOf("\n") + 1;
    const lineEnd = text.indexOf("\n", start);
    const stop = lineEnd < 0 ? end : Math.min(end, lineEnd);
    const column = [...text.slice(lineStart, start)].length + 1;
    faults.push({
      code: found.lint_kind(),
      line: before.split("\n").length,
      column,
      endColumn: column + [...text.slice(start, stop)].length,
      message: found.message(),
    });
  }
  console.log(JSON.stringify({ faults }));
}
