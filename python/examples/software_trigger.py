"""Software trigger: the camera takes a frame each time the program asks.

    python3 python/examples/software_trigger.py
"""
import orvane

with orvane.System() as system, system.camera(index=0) as camera:
    nodes = camera.nodes
    nodes.TriggerSelector.value = "FrameStart"
    nodes.TriggerMode.value = "On"
    nodes.TriggerSource.value = "Software"
    camera.begin_acquisition()
    try:
        for i in range(5):
            nodes.TriggerSoftware.execute()
            with camera.next_image(timeout=2.0) as image:
                print("trigger %d -> frame %d, mean %.2f" % (i, image.frame_id, image.array.mean()))
        try:
            camera.next_image(timeout=0.2)
        except orvane.TimeoutError:
            print("no trigger, no frame")
    finally:
        camera.end_acquisition()
        nodes.TriggerMode.value = "Off"
