"""Says whether a file is Python, as one JSON object on standard output.

    python3 -I python_syntax.py FILE

The file is parsed and compiled, never run.
"""

import json
import sys
import warnings


def fault(code, line, column, message):
    return {"code": code, "line": line or 1, "column": column or 1, "message": message}


def faults_of(source):
    # A selection from inside a block is Python all the same; the line before it is not counted.
    first = next((line for line in source.split(b"\n") if line.strip()), b"")
    before = 1 if first[:1] in (b" ", b"\t") else 0
    found = []
    with warnings.catch_warnings(record=True) as heard:
        warnings.simplefilter("always", SyntaxWarning)
        try:
            compile(b"if True:\n" * before + source, "work", "exec",
                    flags=0x2000, dont_inherit=True)  # ast.PyCF_ALLOW_TOP_LEVEL_AWAIT
        except SyntaxError as error:
            # What only a part of something larger lacks.
            if " outside " not in error.msg:
                found.append(fault("syntax", error.lineno, error.offset, error.msg))
        except (ValueError, RecursionError, MemoryError) as error:
            return None, str(error)
    for warning in heard:
        if issubclass(warning.category, SyntaxWarning):
            found.append(fault("warning", warning.lineno, 1, str(warning.message)))
    for each in found:
        each["line"] = max(1, each["line"] - before)
    return found, ""


def main():
    with open(sys.argv[1], "rb") as file:
        found, trouble = faults_of(file.read())
    if found is None:
        print(json.dumps({"trouble": trouble}))
    else:
        print(json.dumps({"faults": found}))


main()
