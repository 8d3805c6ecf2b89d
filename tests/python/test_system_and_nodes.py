"""Enumeration of the virtual interface and camera, and node access of every
kind with the exact errors the library gives."""
import pytest

import orvane


def test_enumeration(system):
    interfaces = system.interfaces()
    assert [i.id for i in interfaces] == ["Virtual"]
    cameras = system.cameras()
    assert [c.serial for c in cameras] == ["VC0001"]
    cam = cameras[0]
    assert (cam.vendor, cam.model, cam.device_id) == ("Orvane", "Orvane Virtual Camera", "Orvane-VirtualCamera-VC0001")
    assert cam.unique_id == "Virtual:VC0001"
    assert [c.serial for c in interfaces[0].cameras()] == ["VC0001"]
    assert system.version.major == 4


def test_unknown_serial(system):
    with pytest.raises(orvane.Error) as e:
        system.camera(serial="NOPE")
    assert e.value.code == -1007 and e.value.message == "no camera has the serial number 'NOPE'"


def test_device_nodes_need_an_open_camera(system):
    cam = system.camera(serial="VC0001")
    with pytest.raises(orvane.NotInitializedError):
        cam.nodes
    assert cam.tl_device_nodes.DeviceSerialNumber.value == "VC0001"
    cam.close(release=True)


def test_values_of_every_kind(camera):
    n = camera.nodes
    assert n.WidthMax.value == 2048 and n.WidthMax.access == "RO" and n.WidthMax.type_name == "Integer"
    assert (n.Width.min, n.Width.max, n.Width.inc) == (16, 2048, 8)
    n.Width.value = 128
    assert n["Width"].value == 128 and n.Width is n["Width"]
    n["ExposureTime"].value = 5000.0
    assert n.ExposureTime.value == 5000.0 and (n.ExposureTime.min, n.ExposureTime.max) == (10.0, 1000000.0)
    assert n.ExposureTime.inc is None
    n.ReverseX.value = True
    assert n.ReverseX.value is True
    n.ReverseX.value = False
    assert n.DeviceVendorName.value == "Orvane" and n.DeviceVendorName.access == "RO"
    n.DeviceUserID.value = "line 3"
    assert n.DeviceUserID.value == "line 3"
    n.PixelFormat.value = "BayerRG8"
    assert n.PixelFormat.value == "BayerRG8" and str(n.PixelFormat) == "BayerRG8"
    assert n.PixelFormat.int_value == 0x01080009
    assert n.PixelFormat.entries[:3] == ["Mono8", "Mono10", "Mono10p"]
    assert n.AcquisitionStart.type_name == "Command"
    assert "Width" in n and "NoSuchFeature" not in n


def test_categories_iterate(camera):
    names = [node.name for node in camera.nodes.ChunkDataControl]
    assert names[:4] == ["ChunkModeActive", "ChunkSelector", "ChunkEnable", "ChunkImage"]
    assert "ImageFormatControl" in [c.name for c in camera.nodes.Root]


def test_transport_layer_node_maps(camera, system):
    assert camera.tl_device_nodes["DeviceSerialNumber"].value == "VC0001"
    assert camera.tl_stream_nodes.StreamBufferHandlingMode.value in ("OldestFirst", "NewestOnly",
                                                                     "OldestFirstOverwrite", "NewestFirst")
    assert system.tl_nodes.VirtualCameraCount.value == 1


@pytest.mark.parametrize("action, error, code, message", [
    (lambda n: setattr(n.WidthMax, "value", 5), orvane.AccessError, -2006,
     "orvIntegerSetValue failed on node 'WidthMax'"),
    (lambda n: setattr(n.Width, "value", 13), orvane.OutOfRangeError, -2004,
     "orvIntegerSetValue failed on node 'Width'"),
    (lambda n: setattr(n.ExposureTime, "value", 1.0), orvane.OutOfRangeError, -2004,
     "orvFloatSetValue failed on node 'ExposureTime'"),
    (lambda n: setattr(n.PixelFormat, "value", "Mono9"), orvane.InvalidParameterError, -2003,
     "orvNodeFromString failed on node 'PixelFormat'"),
    (lambda n: n.TriggerSoftware.execute(), orvane.AccessError, -2006,
     "orvCommandExecute failed on node 'TriggerSoftware'"),
    (lambda n: n.ExposureTime.execute(), orvane.InvalidHandleError, -1006,
     "orvCommandExecute failed on node 'ExposureTime'"),
    (lambda n: n.DeviceUserID.min, orvane.InvalidHandleError, -1006,
     "orvIntegerGetMin failed on node 'DeviceUserID'"),
    (lambda n: n.AcquisitionStart.value, orvane.TypeMismatchError, -2005,
     "node 'AcquisitionStart' is a Command node: it has no value"),
])
def test_exact_errors(camera, action, error, code, message):
    with pytest.raises(error) as e:
        action(camera.nodes)
    assert (e.value.code, e.value.message) == (code, message)
    assert isinstance(e.value, orvane.Error)


def test_missing_nodes(camera):
    with pytest.raises(KeyError):
        camera.nodes["NoSuchFeature"]
    with pytest.raises(AttributeError):
        camera.nodes.NoSuchFeature
    assert camera.nodes.get("NoSuchFeature") is None


def test_nodes_of_a_closed_camera_refuse_use(system):
    with system.camera(serial="VC0001") as cam:
        width = cam.nodes.Width
    with pytest.raises(orvane.InvalidHandleError) as e:
        width.value
    assert e.value.message == "the device node map is gone (its camera was closed)"
