"""Fixtures of the Python package's tests: the system, and the first virtual
camera opened at a small image size (restored afterwards)."""
import os
import sys

import pytest

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = os.path.normpath(os.path.join(HERE, "..", ".."))
sys.path.insert(0, os.path.join(SOURCE, "python"))
sys.path.insert(0, HERE)

if os.environ.get("ORVANE_TRANSPORTS") != "virtual":
    raise RuntimeError("the Python tests use virtual cameras only: run them with ORVANE_TRANSPORTS=virtual")

import orvane  # noqa: E402


@pytest.fixture(scope="module")
def system():
    with orvane.System() as s:
        yield s


@pytest.fixture
def camera(system):
    with system.camera(serial="VC0001") as cam:
        nodes = cam.nodes
        nodes.PixelFormat.value = "Mono8"
        nodes.Width.value = 64
        nodes.Height.value = 48
        nodes.AcquisitionFrameRate.value = 1000.0
        yield cam
        if cam.is_streaming:
            cam.end_acquisition()
        nodes = cam.nodes
        nodes.ChunkModeActive.value = False
        nodes.PixelFormat.value = "Mono8"
        nodes.TriggerMode.value = "Off"
        nodes.AcquisitionFrameRate.value = 30.0
