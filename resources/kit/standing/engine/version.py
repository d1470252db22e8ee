"""The version of the product that this validator belongs to: what version.txt beside this file says,
which the product's build reads too.
"""

import os

with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "version.txt"), "rb") as _file:
    VERSION = _file.read().decode("ascii").strip()
