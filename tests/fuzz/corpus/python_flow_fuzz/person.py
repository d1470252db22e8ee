import os, sys, subprocess
def run(what, *more, deep=True, **names):
    for part in [what, *more]:
        with open(part) as file:
            yield from (eval(line) for line in file if line)
    try:
        os.system("rm -rf " + " ".join(sys.argv[1:]))
    except (OSError, ValueError) as error:
        subprocess.run(f"ls {error}", shell=True)
    finally:
        del what
match run(input()):
    case [first, *rest] if first: run(*rest)
    case {"a": b, **c}: pass
