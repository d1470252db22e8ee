"""What a program asks setuptools for while it starts: the version of a package.

Debian's Bandit reads all of setuptools to learn its own version, which takes as long as judging a
file. This stands before it on the path; whoever asks for more gets the real one.
"""

import os
import sys
from importlib import metadata

DistributionNotFound = metadata.PackageNotFoundError
get_provider = metadata.distribution


class Requirement:
    @staticmethod
    def parse(name):
        return name


def __getattr__(name):
    here = os.path.dirname(os.path.abspath(__file__))
    sys.path[:] = [place for place in sys.path if os.path.abspath(place) != here]
    sys.modules.pop(__name__, None)
    import pkg_resources
    return getattr(pkg_resources, name)
