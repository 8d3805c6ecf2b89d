"""Image, arrival and log events: delivered on the library's threads, their
exceptions logged, their registrations removed."""
import logging
import threading
import time

import pytest

import orvane


def wait_for(predicate, seconds=10.0):
    end = time.monotonic() + seconds
    while time.monotonic() < end:
        if predicate():
            return True
        time.sleep(0.01)
    return False


def test_image_events(camera):
    seen = []
    threads = set()

    def on_image(image):
        threads.add(threading.get_ident())
        seen.append((image.frame_id, image.array.shape, int(image.array.sum())))

    reg = camera.on_image(on_image)
    camera.begin_acquisition()
    assert wait_for(lambda: len(seen) >= 5)
    reg.remove()
    camera.end_acquisition()
    assert not reg.active
    assert all(shape == (48, 64) for _, shape, _ in seen[:5])
    assert [f for f, _, _ in seen[:5]] == list(range(seen[0][0], seen[0][0] + 5))
    assert threading.get_ident() not in threads


def test_an_exception_in_a_callback_is_logged(camera, caplog):
    def failing(image):
        raise RuntimeError("boom %d" % image.frame_id)

    with caplog.at_level(logging.ERROR, logger="orvane"):
        with camera.on_image(failing):
            camera.begin_acquisition()
            assert wait_for(lambda: any("boom" in r.exc_text for r in caplog.records if r.exc_text))
        camera.end_acquisition()
    record = caplog.records[0]
    assert record.name == "orvane" and "exception in the image callback" in record.getMessage()


def test_arrival_and_removal(system):
    arrivals, removals = [], []
    count = system.tl_nodes.VirtualCameraCount
    system.cameras()  # the present cameras are known before registering
    with system.on_arrival(arrivals.append), system.on_removal(removals.append):
        count.value = 2
        assert wait_for(lambda: arrivals)
        count.value = 1
        assert wait_for(lambda: removals)
    assert [(c.serial, c.unique_id) for c in arrivals] == [("VC0002", "Virtual:VC0002")]
    assert [c.unique_id for c in removals] == ["Virtual:VC0002"]


def test_log_events(system):
    records = []
    with system.on_log(records.append, level="error"):
        with pytest.raises(orvane.Error):
            system.camera(serial="VC0001").nodes  # not open: refused in Python, nothing logged
        handle_error = orvane._capi.lib.orvCameraInit(None)
        assert handle_error == -1006
    assert system.logging_level == 300
    assert records, "the library's error reached no log callback"
    assert records[0].priority_name == "ERROR" and records[0].category == "Orvane"
    assert "Code = -1006" in records[0].message
