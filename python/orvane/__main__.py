"""python3 -m orvane list | grab: the main commands of orvctl."""
import argparse
import os
import sys

import orvane


def cmd_list(system, args):
    for interface in system.interfaces():
        cameras = interface.cameras()
        print("Interface %s (%s): %d camera%s" % (interface.id, interface.display_name, len(cameras),
                                                   "" if len(cameras) == 1 else "s"))
        if cameras:
            rows = [("SERIAL", "VENDOR", "MODEL", "ACCESS")]
            rows += [(c.serial or "-", c.vendor or "-", c.model or "-", c.access_status or "-") for c in cameras]
            widths = [max(len(r[i]) for r in rows) for i in range(4)]
            for r in rows:
                print("  " + "  ".join(cell.ljust(w) for cell, w in zip(r, widths)).rstrip())
    return 0


def cmd_grab(system, args):
    camera = system.camera(serial=args.serial) if args.serial else system.camera(index=0)
    if args.save:
        os.makedirs(args.save, exist_ok=True)
    with camera:
        if args.pixel_format:
            camera.nodes.PixelFormat.value = args.pixel_format
        for image in camera.stream(count=args.n, timeout=args.timeout / 1000.0):
            out = image.convert(args.convert) if args.convert else image
            line = "%s frame %d: %dx%d %s" % (camera.serial, image.frame_id, image.width, image.height,
                                              out.pixel_format)
            if args.stats:
                line += "".join(" %s min %d max %d mean %.2f" % (name, s.pixel_value_range[0],
                                                                  s.pixel_value_range[1], s.mean)
                                for name, s in out.statistics().items())
            if args.save:
                path = os.path.join(args.save, "%s-%d.%s" % (camera.serial, image.frame_id, args.format))
                out.save(path)
                line += " -> " + path
            print(line)
    return 0


def main(argv=None):
    parser = argparse.ArgumentParser(prog="python3 -m orvane", description="Orvane cameras from Python")
    sub = parser.add_subparsers(dest="command", required=True)
    sub.add_parser("list", help="every interface and its cameras")
    grab = sub.add_parser("grab", help="grab frames, print them, optionally save them")
    grab.add_argument("serial", nargs="?", help="camera serial number (default: the first camera)")
    grab.add_argument("-n", type=int, default=10, help="frames to grab (default 10)")
    grab.add_argument("--timeout", type=int, default=5000, help="longest wait for one frame, in ms (default 5000)")
    grab.add_argument("--pixel-format", help="set PixelFormat first (Mono8, BayerRG8, RGB8, ...)")
    grab.add_argument("--convert", help="convert each frame to this pixel format (BGR8, Mono8, ...)")
    grab.add_argument("--save", metavar="DIR", help="write each frame to DIR/SERIAL-FRAMEID.EXT")
    grab.add_argument("--format", default="png", help="file format for --save (default png)")
    grab.add_argument("--stats", action="store_true", help="print each frame's minimum, maximum and mean")
    args = parser.parse_args(argv)
    try:
        with orvane.System() as system:
            return {"list": cmd_list, "grab": cmd_grab}[args.command](system, args)
    except orvane.Error as e:
        print("orvane: %s" % e, file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())
