#!/usr/bin/env python3
"""Settings from Python. Run from the source tree with PYTHONPATH=python and LD_LIBRARY_PATH at the built library."""
import sys

#! [settings]
from configurationcontrol import Ticket

with Ticket(sys.argv[1]) as settings:  # saved at the end of the block; a failed save raises
    settings["Log/Level"] = 5
    settings["Recent"] = ["cover.pdf", "inside.pdf"]
    print(settings.get("Product/Name", "unnamed"), settings.read_list("Recent")[0])
#! [settings]
