"""The validator's engine: what `validate.py` does once there is something to do.

    reachability  is the service worth a try
    links         connections: how each ends in time, and who is at the other end
    places        where an agent may have files read
    settings      which service, which key, which data folder
    client        the evaluation service: grade, iterate -> Verdict
    parts         a file or a text -> an Artifact: the parts to submit and their modality
    standing      the standing rules: what never leaves this machine, and the text people read
    grading       all of them together: one artifact in, one Outcome out
    judged        which verdicts are known by content, so that a turn's end asks for none twice
    report        an Outcome as a table or as JSON; `sarif` as SARIF
    hook          a coding tool's events
    mcp_server    the same work as an MCP server

Nothing here prints, except `cli` and `mcp_server`, which own the standard streams. Functions that
can fail in ways a person can do something about raise the exception their docstring names; the
client never raises, a failure is a `Verdict` with `error`.
"""

#: Characters of what an agent is told at once: coding tools put more than 10,000 aside in a file.
LONGEST_ANSWER = 9000
