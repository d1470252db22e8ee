"""The coding tools as resources/tools.json describes them.

The same table is compiled into the application, which looks for the same files and markers. A tool
is added there; only a new format of file needs a module here.
"""

import json
from typing import Any, Dict, List

#: The text of resources/tools.json, which the build puts here.
TOOLS_JSON = ""

TABLE: Dict[str, Any] = json.loads(TOOLS_JSON)
SERVER: str = TABLE["server"]  # the name of our MCP server in every tool
VALIDATOR = "{validator}"      # stands for the validator's path in the table's commands

#: The tools that can be wired, in the order in which people see them.
WIRED: List[Dict[str, Any]] = [agent for name in TABLE["wiringOrder"]
                               for agent in TABLE["agents"] if agent["id"] == name] + TABLE["others"]
HOOK_COMMANDS = sorted({command for agent in WIRED
                        for file in agent["wiring"]["files"] + agent["wiring"].get("more", [])
                        for hook in file.get("hooks", [])
                        for command in [hook["command"]] + hook.get("former", [])})
