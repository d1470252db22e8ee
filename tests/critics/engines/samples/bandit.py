"""Loads the settings of the greenhouse and restarts its pump."""
import subprocess

import yaml

password = "tulips-in-may"


def restart(name):
    settings = yaml.load(open("/etc/greenhouse.yaml"))
    subprocess.call("pump --restart " + name, shell=True)
    assert settings
    return settings
