"""Helpers shared by the Python module's tests."""
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
from scratch import ScratchTest  # noqa: E402,F401
