"""The coding tools of the table, each by the module of its file's format."""

from typing import Dict, List

from .described import WIRED
from .hook_groups import HookGroups
from .named_servers import NamedServers
from .ownership import Validator
from .server_table import ServerTable
from .tool import Tool

FORMATS = {"hooks": HookGroups, "servers": NamedServers, "toml-table": ServerTable}


def tools(validator: Validator) -> Dict[str, Tool]:
    """Each tool by its key, with the file that it is wired in: the first."""
    return {files[0].key: files[0] for files in described_files(validator)}


def cleaned_only(validator: Validator, key: str) -> List[Tool]:
    """The other files of a tool. We never write our entry there, but one that runs our validator
    counts as wired all the same, so uninstalling takes it out."""
    return [file for files in described_files(validator) for file in files[1:] if file.key == key]


def described_files(validator: Validator) -> List[List[Tool]]:
    return [[FORMATS[file["format"]](agent, file, validator) for file in agent["wiring"]["files"]]
            for agent in WIRED]
