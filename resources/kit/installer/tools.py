"""The coding tools of the table, each by the module of its file's format."""

from typing import Dict, List

from .described import WIRED
from .event_lists import EventLists
from .hook_groups import HookGroups
from .named_servers import NamedServers
from .own_file import OwnFile
from .ownership import Validator
from .server_table import ServerTable
from .tool import Tool

FORMATS = {"hooks": HookGroups, "servers": NamedServers, "toml-table": ServerTable,
           "event-lists": EventLists, "own-file": OwnFile}


def tools(validator: Validator) -> Dict[str, Tool]:
    """Each tool by its key, with the file that it is wired in first: the one by which the companion
    sees it."""
    return {files[0].key: files[0] for files in described_files(validator)}


def further(validator: Validator) -> Dict[str, List[Tool]]:
    """The tool's other means by its key, such as hooks beside a server, in the order of wiring."""
    return {agent["wiring"]["key"]: [FORMATS[file["format"]](agent, file, validator)
                                     for file in agent["wiring"].get("more", [])]
            for agent in WIRED}


def cleaned_only(validator: Validator, key: str) -> List[Tool]:
    """The other files of a tool. We never write our entry there, but one that runs our validator
    counts as wired all the same, so uninstalling takes it out."""
    return [file for files in described_files(validator) for file in files[1:] if file.key == key]


def described_files(validator: Validator) -> List[List[Tool]]:
    return [[FORMATS[file["format"]](agent, file, validator) for file in agent["wiring"]["files"]]
            for agent in WIRED]
