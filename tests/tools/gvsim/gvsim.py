#!/usr/bin/env python3
"""GigE Vision device simulator for the Orvane tests.

One process is one device on one IPv4 address. It speaks GVCP on UDP port
3956 well enough for Aravis to discover, open and control it (bootstrap
registers, READREG/WRITEREG/READMEM/WRITEMEM with GVCP status codes, control
privilege with heartbeat expiry, the device's GenICam XML in memory behind a
"Local:" URL), sends EVENT and EVENTDATA messages to the message channel the
host programmed (MCP/MCDA/MCTT/MCRC), and answers ACTION_CMD like a device
with action signals (device key, group key/mask table, scheduled actions).
Killing the process is the device going away.

Usage:
  gvsim.py --ip 127.0.0.N [--serial S] [--xml FILE] [--control-port P]
           [--ready-file F] [--log F] [--mac M] [--model M]
           [--heartbeat-timeout MS] [--action-signals N]
           [--action-device-key K] [--action-group-key K] [--action-group-mask M]
           [--unconditional-action] [--gate-events]

Run it only inside a private network namespace (tests/tools/netns-run).

The test drives it over a UDP control socket on the device address (port
--control-port, 0 picks one; the ready file says which). One datagram is one
command line; the answer is one datagram starting with "ok" or "error",
followed by key=value fields (several lines for the logs):

  event <name|id> [count] [payload-hex] [key=value ...]
        EVENTDATA messages of one event (name as in the XML: "ExposureEnd" or
        "EventExposureEnd", or the id: 0x9001). Without a payload the data is
        the timestamp and the frame id, 8 bytes each, big-endian. Options:
        ext=1 (64-bit block ids), ack=0|1 (overrides the rule "acknowledge
        wanted when MCTT > 0"), block=N (first block id), channel=N (stream
        channel index, default 0), gated=1 (send only while the event's
        EventNotification is On). Answers once every message was acknowledged
        or given up: "ok sent=N acked=A retries=R dropped=D".
  event-nodata <name|id> [count] [items=K] [ext=1] ...
        The same as EVENT messages (no data); items=K packs K events into each
        message.
  events burst N    N EVENTDATA messages of the first event of the XML.
  duplicate <name|id>
        One EVENTDATA sent twice with the same req_id, both asking for an
        acknowledgement: "ok acks=2" when the host acknowledges both.
  garbage           Malformed datagrams to the message channel; answers
                    "ok garbage=N replies=R" (R: datagrams the host sent back).
  status            Controller, message channel registers, action keys,
                    counters.
  actions | writes  The log of received ACTION_CMDs, of accepted register and
                    memory writes (one line each).
  set <addr> <value> | get <addr>
                    Poke or peek a 32-bit register, bypassing access rules.
  mute 0|1          Stop (1) or resume (0) answering GVCP commands.
  quit              Exit.
"""

import argparse
import os
import select
import socket
import struct
import sys
import time
import xml.etree.ElementTree as ET

GVCP_PORT = 3956

# GVCP commands and acknowledgements
DISCOVERY_CMD, DISCOVERY_ACK = 0x0002, 0x0003
READREG_CMD, READREG_ACK = 0x0080, 0x0081
WRITEREG_CMD, WRITEREG_ACK = 0x0082, 0x0083
READMEM_CMD, READMEM_ACK = 0x0084, 0x0085
WRITEMEM_CMD, WRITEMEM_ACK = 0x0086, 0x0087
EVENT_CMD, EVENT_ACK = 0x00C0, 0x00C1
EVENTDATA_CMD, EVENTDATA_ACK = 0x00C2, 0x00C3
ACTION_CMD, ACTION_ACK = 0x0100, 0x0101

FLAG_ACK_REQUIRED = 0x01
FLAG_EXTENDED_ID = 0x10
FLAG_SCHEDULED = 0x80

# GVCP status codes
SUCCESS = 0x0000
NOT_IMPLEMENTED = 0x8001
INVALID_PARAMETER = 0x8002
INVALID_ADDRESS = 0x8003
WRITE_PROTECT = 0x8004
BAD_ALIGNMENT = 0x8005
ACCESS_DENIED = 0x8006
BUSY = 0x8007
NO_REF_TIME = 0x8013
OVERFLOW = 0x8015
ACTION_LATE = 0x8016
ERROR = 0x8FFF

# Bootstrap registers
REG_VERSION = 0x0000
REG_DEVICE_MODE = 0x0004
REG_MAC_HIGH = 0x0008
REG_MAC_LOW = 0x000C
REG_IP_CONFIG_SUPPORTED = 0x0010
REG_IP_CONFIG_CURRENT = 0x0014
REG_CURRENT_IP = 0x0024
REG_CURRENT_MASK = 0x0034
REG_CURRENT_GATEWAY = 0x0044
REG_USER_NAME = 0x00E8
REG_FIRST_URL = 0x0200
REG_SECOND_URL = 0x0400
REG_N_INTERFACES = 0x0600
REG_PERSISTENT_IP = 0x064C
REG_PERSISTENT_MASK = 0x065C
REG_PERSISTENT_GATEWAY = 0x066C
REG_LINK_SPEED = 0x0670
REG_N_MESSAGE_CHANNELS = 0x0900
REG_N_STREAM_CHANNELS = 0x0904
REG_N_ACTION_SIGNALS = 0x0908
REG_ACTION_DEVICE_KEY = 0x090C
REG_N_ACTIVE_LINKS = 0x0910
REG_SC_CAPS = 0x092C
REG_MC_CAPS = 0x0930
REG_CAPABILITY = 0x0934
REG_HEARTBEAT_TIMEOUT = 0x0938
REG_TICK_FREQUENCY_HIGH = 0x093C
REG_TICK_FREQUENCY_LOW = 0x0940
REG_TIMESTAMP_CONTROL = 0x0944
REG_TIMESTAMP_VALUE_HIGH = 0x0948
REG_TIMESTAMP_VALUE_LOW = 0x094C
REG_GVCP_CONFIG = 0x0954
REG_ACTION_QUEUE_SIZE = 0x0970
REG_CCP = 0x0A00
REG_MCP = 0x0B00
REG_MCDA = 0x0B10
REG_MCTT = 0x0B14
REG_MCRC = 0x0B18
REG_MCSP = 0x0B1C
REG_SCP0 = 0x0D00
REG_SCPS0 = 0x0D04
REG_SCPD0 = 0x0D08
REG_SCDA0 = 0x0D18
REG_SCSP0 = 0x0D1C
REG_SCC0 = 0x0D20
REG_SCCFG0 = 0x0D24
REG_ACTION_GROUP_KEY0 = 0x9800  # + 0x10 * i
REG_ACTION_GROUP_MASK0 = 0x9804  # + 0x10 * i

CCP_EXCLUSIVE = 0x1
CCP_CONTROL = 0x2
GVCP_CONFIG_UNCONDITIONAL_ACTION = 0x00000008
GVCP_CONFIG_EXTENDED_STATUS_1_1 = 0x00000004
GVCP_CONFIG_EXTENDED_STATUS_2_0 = 0x00040000

CAPABILITY = (0x80000000    # user-defined name
              | 0x40000000  # serial number
              | 0x10000000  # link speed register
              | 0x00400000  # extended status codes (1.1)
              | 0x00100000  # unconditional action command
              | 0x00040000  # extended status codes (2.0)
              | 0x00020000  # scheduled action command
              | 0x00000040  # action command
              | 0x00000010  # EVENTDATA
              | 0x00000008  # EVENT
              | 0x00000002  # WRITEMEM
              | 0x00000001)  # several registers in one READREG/WRITEREG

XML_ADDRESS = 0x10000
USER_MEMORY = 0x20000
USER_MEMORY_SIZE = 0x10000
MAX_MEMORY_ACCESS = 536
SCHEDULED_QUEUE_SIZE = 4
LOG_LIMIT = 10000


def parse_number(text):
    return int(text, 0)


def ip_to_int(text):
    return struct.unpack("!I", socket.inet_aton(text))[0]


def int_to_ip(value):
    return socket.inet_ntoa(struct.pack("!I", value & 0xFFFFFFFF))


def event_name_of_port(port_name):
    name = port_name
    if name.startswith("Event"):
        name = name[len("Event"):]
    for suffix in ("Port", "Data"):
        if name.endswith(suffix) and len(name) > len(suffix):
            name = name[:-len(suffix)]
    return name


class EventDescription:
    def __init__(self, name, event_id, selector_value):
        self.name = name
        self.event_id = event_id
        self.selector_value = selector_value


def read_events(xml_bytes):
    """The events of the device XML: ports with an EventID, named by the
    Event<Name> integer whose value is the id (or by the port's name), with
    the EventSelector entry of the same name."""
    root = ET.fromstring(xml_bytes)

    def local(tag):
        return tag.rsplit("}", 1)[-1]

    ids_by_feature = {}
    selector = {}
    ports = []
    for element in root:
        kind = local(element.tag)
        name = element.get("Name", "")
        if kind == "Port":
            for child in element:
                if local(child.tag) == "EventID":
                    text = (child.text or "").strip()
                    if text.lower().startswith("0x"):
                        text = text[2:]
                    ports.append((name, int(text, 16)))
        elif kind == "Integer" and name.startswith("Event"):
            for child in element:
                if local(child.tag) == "Value":
                    try:
                        ids_by_feature[name] = int((child.text or "").strip(), 0)
                    except ValueError:
                        pass
        elif kind == "Enumeration" and name == "EventSelector":
            for entry in element:
                if local(entry.tag) != "EnumEntry":
                    continue
                for child in entry:
                    if local(child.tag) == "Value":
                        selector[entry.get("Name", "")] = int((child.text or "").strip(), 0)
    events = []
    for port_name, event_id in ports:
        name = None
        for feature, value in ids_by_feature.items():
            if value == event_id:
                name = feature[len("Event"):]
                break
        if not name:
            name = event_name_of_port(port_name)
        events.append(EventDescription(name, event_id, selector.get(name)))
    return events


class Simulator:
    def __init__(self, args):
        self.args = args
        self.ip = args.ip
        self.ip_value = ip_to_int(args.ip)
        self.started = time.monotonic()
        self.timestamp_origin = time.monotonic_ns()
        self.log_file = open(args.log, "a", buffering=1) if args.log else None
        self.action_log = []
        self.write_log = []
        self.muted = False

        with open(args.xml, "rb") as f:
            self.xml = f.read()
        self.events = read_events(self.xml)
        xml_size = len(self.xml)
        self.xml_memory = self.xml + b"\0" * ((-xml_size) % 4)

        mac = [int(x, 16) for x in args.mac.split(":")] if args.mac else \
            [0x02, 0x00] + list(socket.inet_aton(args.ip))
        if len(mac) != 6:
            raise SystemExit("bad --mac")

        # 32-bit registers: address -> [value, access]; strings: (address, size)
        self.regs = {}
        self.strings = {}

        def reg(address, value, access="RO"):
            self.regs[address] = [value & 0xFFFFFFFF, access]

        def string(address, size, text, access="RO"):
            data = text.encode()[:size - 1]
            self.strings[address] = [bytearray(data + b"\0" * (size - len(data))), access]

        mask = ip_to_int(args.mask)
        reg(REG_VERSION, 0x00020000)
        reg(REG_DEVICE_MODE, 0x80000001)  # big-endian, transmitter, UTF-8
        reg(REG_MAC_HIGH, (mac[0] << 8) | mac[1])
        reg(REG_MAC_LOW, (mac[2] << 24) | (mac[3] << 16) | (mac[4] << 8) | mac[5])
        reg(REG_IP_CONFIG_SUPPORTED, 0x00000007)
        reg(REG_IP_CONFIG_CURRENT, 0x00000005)
        reg(REG_CURRENT_IP, self.ip_value)
        reg(REG_CURRENT_MASK, mask)
        reg(REG_CURRENT_GATEWAY, 0)
        string(0x0048, 32, args.vendor)
        string(0x0068, 32, args.model)
        string(0x0088, 32, "gvsim 1.0")
        string(0x00A8, 48, "Orvane GigE Vision device simulator")
        string(0x00D8, 16, args.serial)
        string(REG_USER_NAME, 16, args.user_name, "RW")
        url = "Local:sim.xml;%x;%x" % (XML_ADDRESS, xml_size)
        string(REG_FIRST_URL, 512, url)
        string(REG_SECOND_URL, 512, "")
        reg(REG_N_INTERFACES, 1)
        reg(REG_PERSISTENT_IP, self.ip_value, "RW")
        reg(REG_PERSISTENT_MASK, mask, "RW")
        reg(REG_PERSISTENT_GATEWAY, 0, "RW")
        reg(REG_LINK_SPEED, 1000)
        reg(REG_N_MESSAGE_CHANNELS, 1)
        reg(REG_N_STREAM_CHANNELS, 1)
        reg(REG_N_ACTION_SIGNALS, args.action_signals)
        reg(REG_ACTION_DEVICE_KEY, args.action_device_key, "WO")
        reg(REG_N_ACTIVE_LINKS, 1)
        reg(REG_SC_CAPS, 0)
        reg(REG_MC_CAPS, 0x80000000)  # MCSP present
        reg(REG_CAPABILITY, CAPABILITY)
        reg(REG_HEARTBEAT_TIMEOUT, args.heartbeat_timeout, "RW")
        reg(REG_TICK_FREQUENCY_HIGH, 0)
        reg(REG_TICK_FREQUENCY_LOW, 1000000000)
        reg(REG_TIMESTAMP_CONTROL, 0, "WO")
        reg(REG_TIMESTAMP_VALUE_HIGH, 0)
        reg(REG_TIMESTAMP_VALUE_LOW, 0)
        config = GVCP_CONFIG_EXTENDED_STATUS_1_1 | GVCP_CONFIG_EXTENDED_STATUS_2_0
        if args.unconditional_action:
            config |= GVCP_CONFIG_UNCONDITIONAL_ACTION
        reg(REG_GVCP_CONFIG, config, "RW")
        reg(REG_ACTION_QUEUE_SIZE, SCHEDULED_QUEUE_SIZE)
        reg(REG_CCP, 0, "RW")
        reg(REG_MCP, 0, "RW")
        reg(REG_MCDA, 0, "RW")
        reg(REG_MCTT, 300, "RW")
        reg(REG_MCRC, 2, "RW")
        reg(REG_MCSP, 0)
        reg(REG_SCP0, 0, "RW")
        reg(REG_SCPS0, 1500, "RW")
        reg(REG_SCPD0, 0, "RW")
        reg(REG_SCDA0, 0, "RW")
        reg(REG_SCSP0, 0)
        reg(REG_SCC0, 0)
        reg(REG_SCCFG0, 0, "RW")
        for i in range(args.action_signals):
            reg(REG_ACTION_GROUP_KEY0 + 0x10 * i, args.action_group_key if i == 0 else 0, "RW")
            reg(REG_ACTION_GROUP_MASK0 + 0x10 * i, args.action_group_mask if i == 0 else 0, "RW")

        self.memory = bytearray(USER_MEMORY_SIZE)
        for address, value in ((0x20000, 640), (0x20004, 480), (0x20008, 0x01080001)):
            struct.pack_into("!I", self.memory, address - USER_MEMORY, value)

        self.controller = None  # (ip, port) of the primary application
        self.controller_seen = 0.0
        self.next_req_id = 0
        self.scheduled = []  # action times queued

        # message channel state
        self.queue = []  # messages waiting to be sent: dict
        self.inflight = None
        self.pending_reply = None  # (address, counters) answered when the queue drains
        self.counters = {"sent": 0, "acked": 0, "retries": 0, "dropped": 0, "stray": 0}

        self.open_sockets()

    # ---- sockets ----------------------------------------------------------

    def open_sockets(self):
        self.gvcp = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.gvcp.bind((self.ip, GVCP_PORT))
        self.gvcp.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)

        # Discovery and action commands also come as broadcasts: every
        # simulator (and Aravis's fake) binds these with address reuse.
        self.broadcast = []
        for address in ("255.255.255.255", self.subnet_broadcast()):
            if address is None:
                continue
            s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
            s.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            try:
                s.bind((address, GVCP_PORT))
                self.broadcast.append(s)
            except OSError:
                s.close()

        self.mc = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.mc.bind((self.ip, 0))
        self.mc.setsockopt(socket.SOL_SOCKET, socket.SO_SNDBUF, 1 << 20)
        self.regs[REG_MCSP][0] = self.mc.getsockname()[1]

        self.control = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.control.bind((self.ip, self.args.control_port))

    def subnet_broadcast(self):
        mask = ip_to_int(self.args.mask)
        value = (self.ip_value & mask) | (~mask & 0xFFFFFFFF)
        if value == 0xFFFFFFFF or value == self.ip_value:
            return None
        return int_to_ip(value)

    def write_ready_file(self):
        if not self.args.ready_file:
            return
        text = "ready control_port=%d gvcp_port=%d mc_source_port=%d pid=%d\n" % (
            self.control.getsockname()[1], GVCP_PORT, self.mc.getsockname()[1], os.getpid())
        temporary = self.args.ready_file + ".tmp"
        with open(temporary, "w") as f:
            f.write(text)
        os.rename(temporary, self.args.ready_file)

    # ---- logging ----------------------------------------------------------

    def log(self, kind, line):
        target = self.action_log if kind == "action" else self.write_log
        target.append(line)
        del target[:-LOG_LIMIT]
        if self.log_file:
            self.log_file.write("%s %s\n" % (kind, line))

    # ---- time -------------------------------------------------------------

    def timestamp(self):
        return time.monotonic_ns() - self.timestamp_origin

    # ---- control privilege ------------------------------------------------

    def check_heartbeat(self):
        if self.controller is None:
            return
        timeout = self.regs[REG_HEARTBEAT_TIMEOUT][0] / 1000.0
        if time.monotonic() - self.controller_seen > timeout:
            self.release_control("heartbeat expired")

    def release_control(self, why):
        self.controller = None
        self.regs[REG_CCP][0] = 0
        # Losing the primary application closes the channels it opened.
        self.regs[REG_MCP][0] = 0
        self.regs[REG_MCDA][0] = 0
        self.regs[REG_SCP0][0] = 0
        self.regs[REG_SCDA0][0] = 0
        self.log("write", "control released (%s)" % why)

    def is_controller(self, source):
        return self.controller is not None and self.controller == source

    # ---- registers --------------------------------------------------------

    def read_register(self, address):
        if address % 4:
            return BAD_ALIGNMENT, 0
        if address in self.regs:
            value, access = self.regs[address]
            if access == "WO":
                return ACCESS_DENIED, 0
            return SUCCESS, value
        status, data = self.read_memory(address, 4)
        if status != SUCCESS:
            return status, 0
        return SUCCESS, struct.unpack("!I", data)[0]

    def write_register(self, address, value, source):
        if address % 4:
            return BAD_ALIGNMENT
        if address == REG_CCP:
            return self.write_ccp(value, source)
        if self.controller is None or not self.is_controller(source):
            return ACCESS_DENIED
        if address in self.regs:
            entry = self.regs[address]
            if entry[1] == "RO":
                return WRITE_PROTECT
            if address == REG_HEARTBEAT_TIMEOUT:
                value = max(value, 500)
            elif address == REG_TIMESTAMP_CONTROL:
                if value & 0x1:
                    self.timestamp_origin = time.monotonic_ns()
                if value & 0x2:
                    now = self.timestamp()
                    self.regs[REG_TIMESTAMP_VALUE_HIGH][0] = now >> 32
                    self.regs[REG_TIMESTAMP_VALUE_LOW][0] = now & 0xFFFFFFFF
                value = 0
            elif address == REG_GVCP_CONFIG:
                value &= (GVCP_CONFIG_UNCONDITIONAL_ACTION | GVCP_CONFIG_EXTENDED_STATUS_1_1
                          | GVCP_CONFIG_EXTENDED_STATUS_2_0)
            elif address == REG_MCP:
                value &= 0x000FFFFF
            entry[0] = value & 0xFFFFFFFF
            self.log("write", "reg 0x%08x 0x%08x" % (address, value & 0xFFFFFFFF))
            return SUCCESS
        if USER_MEMORY <= address < USER_MEMORY + USER_MEMORY_SIZE:
            struct.pack_into("!I", self.memory, address - USER_MEMORY, value & 0xFFFFFFFF)
            self.log("write", "reg 0x%08x 0x%08x" % (address, value & 0xFFFFFFFF))
            return SUCCESS
        if self.find_string(address, 4) is not None or XML_ADDRESS <= address < XML_ADDRESS + len(self.xml_memory):
            return WRITE_PROTECT
        return INVALID_ADDRESS

    def write_ccp(self, value, source):
        wanted = value & (CCP_CONTROL | CCP_EXCLUSIVE)
        if self.controller is not None and not self.is_controller(source):
            return ACCESS_DENIED
        if wanted:
            if self.controller is None:
                self.log("write", "control taken by %s:%d" % source)
            self.controller = source
            self.controller_seen = time.monotonic()
            self.regs[REG_CCP][0] = wanted
        elif self.controller is not None:
            self.release_control("released by %s:%d" % source)
        return SUCCESS

    def discovery_data(self):
        """The DISCOVERY_ACK payload: the first 0xF8 bytes of the bootstrap
        registers (version, device mode, MAC, IP configuration, current IP,
        mask and gateway, then the identity strings)."""
        data = bytearray(0xF8)
        for address, (value, access) in self.regs.items():
            if address + 4 <= len(data) and access != "WO":
                struct.pack_into("!I", data, address, value)
        for address, (text, access) in self.strings.items():
            if address + len(text) <= len(data):
                data[address:address + len(text)] = text
        return bytes(data)

    def find_string(self, address, size):
        for start, (data, access) in self.strings.items():
            if start <= address and address + size <= start + len(data):
                return start, data, access
        return None

    def read_memory(self, address, size):
        # The last block of the XML file need not be a whole number of words.
        if address % 4:
            return BAD_ALIGNMENT, b""
        if size == 0 or size > MAX_MEMORY_ACCESS:
            return INVALID_PARAMETER, b""
        found = self.find_string(address, size)
        if found is not None:
            start, data, access = found
            return SUCCESS, bytes(data[address - start:address - start + size])
        if XML_ADDRESS <= address and address + size <= XML_ADDRESS + len(self.xml_memory):
            offset = address - XML_ADDRESS
            return SUCCESS, self.xml_memory[offset:offset + size]
        if USER_MEMORY <= address and address + size <= USER_MEMORY + USER_MEMORY_SIZE:
            offset = address - USER_MEMORY
            return SUCCESS, bytes(self.memory[offset:offset + size])
        # A run of 32-bit registers
        out = bytearray()
        for a in range(address, address + size, 4):
            if a not in self.regs or self.regs[a][1] == "WO":
                return INVALID_ADDRESS, b""
            out += struct.pack("!I", self.regs[a][0])
        return SUCCESS, bytes(out)

    def write_memory(self, address, data, source):
        if address % 4 or len(data) % 4:
            return BAD_ALIGNMENT, 0
        if not data or len(data) > MAX_MEMORY_ACCESS:
            return INVALID_PARAMETER, 0
        if self.controller is None or not self.is_controller(source):
            return ACCESS_DENIED, 0
        found = self.find_string(address, len(data))
        if found is not None:
            start, buffer, access = found
            if access != "RW":
                return WRITE_PROTECT, 0
            buffer[address - start:address - start + len(data)] = data
            buffer[-1] = 0
            self.log("write", "mem 0x%08x %s" % (address, data.hex()))
            return SUCCESS, len(data)
        if USER_MEMORY <= address and address + len(data) <= USER_MEMORY + USER_MEMORY_SIZE:
            offset = address - USER_MEMORY
            self.memory[offset:offset + len(data)] = data
            self.log("write", "mem 0x%08x %s" % (address, data.hex()))
            return SUCCESS, len(data)
        written = 0
        for i in range(0, len(data), 4):
            status = self.write_register(address + i, struct.unpack_from("!I", data, i)[0], source)
            if status != SUCCESS:
                return status, written
            written += 4
        return SUCCESS, written

    # ---- GVCP control channel --------------------------------------------

    @staticmethod
    def ack(status, command, req_id, payload=b""):
        return struct.pack("!HHHH", status, command, len(payload), req_id) + payload

    def handle_gvcp(self, data, source):
        if len(data) < 8:
            return None
        key, flags, command, length, req_id = struct.unpack_from("!BBHHH", data)
        if key != 0x42:
            return None
        if self.muted:
            return None
        payload = data[8:8 + length]
        if len(payload) < length:
            return self.ack(INVALID_PARAMETER, command + 1, req_id) if flags & FLAG_ACK_REQUIRED else None
        if self.is_controller(source):
            self.controller_seen = time.monotonic()

        if command == DISCOVERY_CMD:
            return self.ack(SUCCESS, DISCOVERY_ACK, req_id, self.discovery_data())
        if command == READREG_CMD:
            if length == 0 or length % 4:
                return self.ack(INVALID_PARAMETER, READREG_ACK, req_id)
            values = b""
            for i in range(0, length, 4):
                address = struct.unpack_from("!I", payload, i)[0]
                status, value = self.read_register(address)
                if status != SUCCESS:
                    return self.ack(status, READREG_ACK, req_id, values)
                values += struct.pack("!I", value)
                if address == REG_CCP and self.is_controller(source):
                    self.controller_seen = time.monotonic()
            return self.ack(SUCCESS, READREG_ACK, req_id, values)
        if command == WRITEREG_CMD:
            if length == 0 or length % 8:
                return self.ack(INVALID_PARAMETER, WRITEREG_ACK, req_id, struct.pack("!HH", 0, 0))
            index = 0
            for i in range(0, length, 8):
                address, value = struct.unpack_from("!II", payload, i)
                status = self.write_register(address, value, source)
                if status != SUCCESS:
                    return self.ack(status, WRITEREG_ACK, req_id, struct.pack("!HH", 0, index))
                index += 1
            return self.ack(SUCCESS, WRITEREG_ACK, req_id, struct.pack("!HH", 0, index))
        if command == READMEM_CMD:
            if length != 8:
                return self.ack(INVALID_PARAMETER, READMEM_ACK, req_id)
            address, _, size = struct.unpack_from("!IHH", payload)
            status, block = self.read_memory(address, size)
            if status != SUCCESS:
                return self.ack(status, READMEM_ACK, req_id, struct.pack("!I", address))
            return self.ack(SUCCESS, READMEM_ACK, req_id, struct.pack("!I", address) + block)
        if command == WRITEMEM_CMD:
            if length < 4:
                return self.ack(INVALID_PARAMETER, WRITEMEM_ACK, req_id, struct.pack("!HH", 0, 0))
            address = struct.unpack_from("!I", payload)[0]
            status, written = self.write_memory(address, payload[4:], source)
            return self.ack(status, WRITEMEM_ACK, req_id, struct.pack("!HH", 0, written))
        if command == ACTION_CMD:
            return self.handle_action(flags, payload, req_id, source)
        if flags & FLAG_ACK_REQUIRED:
            return self.ack(NOT_IMPLEMENTED, command + 1, req_id)
        return None

    def handle_action(self, flags, payload, req_id, source):
        scheduled = bool(flags & FLAG_SCHEDULED)
        if len(payload) < (20 if scheduled else 12):
            self.log("action", "malformed from=%s:%d length=%d" % (source[0], source[1], len(payload)))
            return None
        device_key, group_key, group_mask = struct.unpack_from("!III", payload)
        action_time = struct.unpack_from("!Q", payload, 12)[0] if scheduled else 0
        wants_ack = bool(flags & FLAG_ACK_REQUIRED)
        line = "device_key=0x%08x group_key=0x%08x group_mask=0x%08x scheduled=%d time=%d ack=%d req_id=%d from=%s:%d" % (
            device_key, group_key, group_mask, int(scheduled), action_time, int(wants_ack), req_id,
            source[0], source[1])

        unconditional = self.regs[REG_GVCP_CONFIG][0] & GVCP_CONFIG_UNCONDITIONAL_ACTION
        if self.controller is None and not unconditional:
            self.log("action", line + " result=ignored-no-controller")
            return None
        if device_key != self.regs[REG_ACTION_DEVICE_KEY][0]:
            self.log("action", line + " result=ignored-device-key")
            return None
        fired = []
        for i in range(self.regs[REG_N_ACTION_SIGNALS][0]):
            key = self.regs[REG_ACTION_GROUP_KEY0 + 0x10 * i][0]
            mask = self.regs[REG_ACTION_GROUP_MASK0 + 0x10 * i][0]
            if group_key == key and group_mask & mask:
                fired.append(i)
        if not fired:
            self.log("action", line + " result=ignored-group")
            return None

        status = SUCCESS
        extended = self.regs[REG_GVCP_CONFIG][0] & GVCP_CONFIG_EXTENDED_STATUS_2_0
        if scheduled:
            now = self.timestamp()
            self.scheduled = [t for t in self.scheduled if t > now]
            if action_time <= now:
                status = ACTION_LATE if extended else SUCCESS
            elif len(self.scheduled) >= SCHEDULED_QUEUE_SIZE:
                status = OVERFLOW if extended else ERROR
            else:
                self.scheduled.append(action_time)
        self.log("action", line + " result=fired signals=%s status=0x%04x" % (
            ",".join(str(i) for i in fired), status))
        if wants_ack:
            return self.ack(status, ACTION_ACK, req_id)
        return None

    # ---- message channel --------------------------------------------------

    def channel_destination(self):
        port = self.regs[REG_MCP][0] & 0xFFFF
        address = self.regs[REG_MCDA][0]
        if port == 0 or address == 0:
            return None
        return int_to_ip(address), port

    def take_req_id(self):
        self.next_req_id = self.next_req_id % 0xFFFF + 1
        return self.next_req_id

    def find_event(self, text):
        for e in self.events:
            if text in (e.name, "Event" + e.name):
                return e
        try:
            value = parse_number(text)
        except ValueError:
            return None
        for e in self.events:
            if e.event_id == value:
                return e
        return EventDescription("0x%04x" % value, value, None)

    def notification_on(self, event):
        if event.selector_value is None:
            return False
        offset = 0x20100 + 4 * event.selector_value - USER_MEMORY
        if not 0 <= offset < USER_MEMORY_SIZE - 4:
            return False
        return struct.unpack_from("!I", self.memory, offset)[0] == 1

    def event_item(self, event, block_id, channel, extended, data_size, timestamp):
        if extended:
            return struct.pack("!HHHHQQ", 24 + data_size, event.event_id, channel, 0, block_id, timestamp)
        return struct.pack("!HHHHQ", 0, event.event_id, channel, block_id & 0xFFFF, timestamp)

    def queue_message(self, command, flags, body):
        self.queue.append({"command": command, "flags": flags, "body": body})

    def start_events(self, source, words, with_data):
        options = {}
        positional = []
        for w in words:
            if "=" in w:
                k, v = w.split("=", 1)
                options[k] = v
            else:
                positional.append(w)
        if not positional:
            return "error missing event"
        if self.busy():
            return "error busy"
        event = self.find_event(positional[0])
        if event is None:
            return "error unknown event %s" % positional[0]
        count = parse_number(positional[1]) if len(positional) > 1 else 1
        payload = bytes.fromhex(positional[2]) if len(positional) > 2 and with_data else None
        if self.channel_destination() is None:
            return "error message channel closed"
        if options.get("gated", "1" if self.args.gate_events else "0") == "1" and not self.notification_on(event):
            return "ok sent=0 acked=0 retries=0 dropped=0 gated=%d" % count
        extended = options.get("ext", "0") == "1"
        if "ack" in options:
            ack = options["ack"] == "1"
        else:
            ack = self.regs[REG_MCTT][0] > 0
        block = parse_number(options.get("block", "1"))
        channel = parse_number(options.get("channel", "0"))
        items_per_message = parse_number(options.get("items", "1"))
        flags = (FLAG_ACK_REQUIRED if ack else 0) | (FLAG_EXTENDED_ID if extended else 0)
        n = 0
        while n < count:
            timestamp = self.timestamp()
            if with_data:
                data = payload if payload is not None else struct.pack("!QQ", timestamp, block)
                body = self.event_item(event, block, channel, extended, len(data), timestamp) + data
                self.queue_message(EVENTDATA_CMD, flags, body)
                block += 1
                n += 1
            else:
                body = b""
                for _ in range(min(items_per_message, count - n)):
                    body += self.event_item(event, block, channel, extended, 0, timestamp)
                    block += 1
                    n += 1
                self.queue_message(EVENT_CMD, flags, body)
        for k in self.counters:
            self.counters[k] = 0
        self.pending_reply = source
        return None

    def send_message(self, message):
        destination = self.channel_destination()
        if destination is None:
            return False
        packet = struct.pack("!BBHHH", 0x42, message["flags"], message["command"], len(message["body"]),
                             message["req_id"]) + message["body"]
        try:
            self.mc.sendto(packet, destination)
        except OSError:
            return False
        return True

    def pump_events(self):
        """Sends the next queued message once the one in flight is done."""
        now = time.monotonic()
        while True:
            if self.inflight is not None:
                message = self.inflight
                timeout = self.regs[REG_MCTT][0] / 1000.0
                if now - message["sent_at"] < timeout:
                    return
                if message["retries_left"] > 0 and self.channel_destination() is not None:
                    message["retries_left"] -= 1
                    message["sent_at"] = now
                    self.counters["retries"] += 1
                    self.send_message(message)
                    return
                self.counters["dropped"] += 1
                self.inflight = None
            if not self.queue:
                if self.pending_reply is not None:
                    c = self.counters
                    self.reply(self.pending_reply, "ok sent=%d acked=%d retries=%d dropped=%d" % (
                        c["sent"], c["acked"], c["retries"], c["dropped"]))
                    self.pending_reply = None
                return
            message = self.queue.pop(0)
            message["req_id"] = self.take_req_id()
            if not self.send_message(message):
                self.counters["dropped"] += 1
                continue
            self.counters["sent"] += 1
            if message["flags"] & FLAG_ACK_REQUIRED:
                message["sent_at"] = now
                message["retries_left"] = self.regs[REG_MCRC][0]
                self.inflight = message
                return

    def handle_message_channel_reply(self, data, source):
        if len(data) >= 8:
            status, command, length, ack_id = struct.unpack_from("!HHHH", data)
            message = self.inflight
            if (message is not None and ack_id == message["req_id"] and command == message["command"] + 1
                    and status == SUCCESS):
                self.counters["acked"] += 1
                self.inflight = None
                self.pump_events()
                return
        self.counters["stray"] += 1

    def busy(self):
        return self.pending_reply is not None or self.inflight is not None or bool(self.queue)

    def duplicate(self, source, words):
        if not words:
            return "error missing event"
        if self.busy():
            return "error busy"
        event = self.find_event(words[0])
        if event is None:
            return "error unknown event %s" % words[0]
        destination = self.channel_destination()
        if destination is None:
            return "error message channel closed"
        timestamp = self.timestamp()
        data = struct.pack("!QQ", timestamp, 77)
        body = self.event_item(event, 77, 0, False, len(data), timestamp) + data
        req_id = self.take_req_id()
        packet = struct.pack("!BBHHH", 0x42, FLAG_ACK_REQUIRED, EVENTDATA_CMD, len(body), req_id) + body
        self.mc.sendto(packet, destination)
        self.mc.sendto(packet, destination)
        acks = self.collect_replies(1.0, 2, req_id)
        return "ok acks=%d req_id=%d" % (acks, req_id)

    def collect_replies(self, seconds, wanted=None, req_id=None):
        """Counts datagrams arriving on the message channel socket."""
        count = 0
        deadline = time.monotonic() + seconds
        while True:
            left = deadline - time.monotonic()
            if left <= 0 or (wanted is not None and count >= wanted):
                return count
            ready, _, _ = select.select([self.mc], [], [], left)
            if not ready:
                return count
            data, _ = self.mc.recvfrom(65536)
            if req_id is None:
                count += 1
            elif len(data) >= 8 and struct.unpack_from("!H", data, 6)[0] == req_id:
                count += 1

    def garbage(self):
        if self.busy():
            return "error busy"
        destination = self.channel_destination()
        if destination is None:
            return "error message channel closed"

        def header(flags, command, length, req_id):
            return struct.pack("!BBHHH", 0x42, flags, command, length, req_id)

        item = struct.pack("!HHHHQ", 0, 0x9001, 0, 1, 12345)
        ext_item = struct.pack("!HHHHQQ", 10, 0x9001, 0, 0, 1, 12345)
        packets = [
            b"",                                                          # empty datagram
            b"\x42\x01\x00",                                              # shorter than a header
            struct.pack("!HHHH", 0, EVENT_ACK, 0, 5),                     # an acknowledge, not a command
            header(FLAG_ACK_REQUIRED, EVENTDATA_CMD, 100, 6) + item + b"\x01\x02\x03\x04",  # length beyond datagram
            header(FLAG_ACK_REQUIRED, EVENT_CMD, 10, 7) + item[:10],      # not a whole event item
            header(FLAG_ACK_REQUIRED, 0x4242, 0, 8),                      # unknown command
            header(FLAG_ACK_REQUIRED, EVENTDATA_CMD, 8, 9) + item[:8],    # shorter than an event item
            header(FLAG_ACK_REQUIRED | FLAG_EXTENDED_ID, EVENTDATA_CMD, 24, 10) + ext_item,  # event size below 24
            header(FLAG_ACK_REQUIRED | FLAG_EXTENDED_ID, EVENTDATA_CMD, 28, 11)
            + struct.pack("!HHHHQQ", 200, 0x9001, 0, 0, 1, 1) + b"\0" * 4,  # event size beyond the message
            header(FLAG_ACK_REQUIRED, EVENTDATA_CMD, 0xFFFF, 12) + os.urandom(2000),  # truncated, random
            header(FLAG_ACK_REQUIRED, EVENTDATA_CMD, 16000 - 8, 13) + b"\xAB" * (16000 - 8),  # oversized datagram
            header(FLAG_ACK_REQUIRED, EVENT_CMD, 0, 14),                  # no event item
            os.urandom(64),                                               # noise
        ]
        # Noise must not start like a command by chance.
        packets[-1] = b"\x13" + packets[-1][1:]
        for p in packets:
            self.mc.sendto(p, destination)
        replies = self.collect_replies(0.5)
        return "ok garbage=%d replies=%d" % (len(packets), replies)

    # ---- test control -----------------------------------------------------

    def reply(self, address, text):
        data = text.encode()
        if len(data) > 65000:
            data = data[:65000]
        try:
            self.control.sendto(data, address)
        except OSError:
            pass

    def status(self):
        destination = self.channel_destination()
        fields = {
            "serial": self.args.serial,
            "controller": "%s:%d" % self.controller if self.controller else "none",
            "ccp": self.regs[REG_CCP][0],
            "mcp": self.regs[REG_MCP][0],
            "mcda": int_to_ip(self.regs[REG_MCDA][0]),
            "mctt": self.regs[REG_MCTT][0],
            "mcrc": self.regs[REG_MCRC][0],
            "mcsp": self.regs[REG_MCSP][0],
            "channel": "%s:%d" % destination if destination else "closed",
            "heartbeat_timeout": self.regs[REG_HEARTBEAT_TIMEOUT][0],
            "device_key": "0x%08x" % self.regs[REG_ACTION_DEVICE_KEY][0],
            "gvcp_config": "0x%08x" % self.regs[REG_GVCP_CONFIG][0],
            "actions": len(self.action_log),
            "writes": len(self.write_log),
        }
        for i in range(self.regs[REG_N_ACTION_SIGNALS][0]):
            fields["group_key%d" % i] = "0x%08x" % self.regs[REG_ACTION_GROUP_KEY0 + 0x10 * i][0]
            fields["group_mask%d" % i] = "0x%08x" % self.regs[REG_ACTION_GROUP_MASK0 + 0x10 * i][0]
        for e in self.events:
            fields["notify_%s" % e.name] = int(self.notification_on(e))
        return "ok " + " ".join("%s=%s" % kv for kv in fields.items())

    def handle_control(self, data, source):
        words = data.decode(errors="replace").split()
        if not words:
            return "error empty command"
        command = words[0]
        try:
            if command == "quit":
                self.reply(source, "ok bye")
                raise SystemExit(0)
            if command == "status":
                return self.status()
            if command == "event":
                return self.start_events(source, words[1:], True)
            if command == "event-nodata":
                return self.start_events(source, words[1:], False)
            if command == "events" and len(words) == 3 and words[1] == "burst":
                if not self.events:
                    return "error no event in the XML"
                return self.start_events(source, [self.events[0].name, words[2]], True)
            if command == "duplicate":
                return self.duplicate(source, words[1:])
            if command == "garbage":
                return self.garbage()
            if command in ("actions", "writes"):
                entries = self.action_log if command == "actions" else self.write_log
                return "\n".join(["ok n=%d" % len(entries)] + entries)
            if command == "set" and len(words) == 3:
                address, value = parse_number(words[1]), parse_number(words[2])
                if address in self.regs:
                    self.regs[address][0] = value & 0xFFFFFFFF
                elif USER_MEMORY <= address < USER_MEMORY + USER_MEMORY_SIZE - 3:
                    struct.pack_into("!I", self.memory, address - USER_MEMORY, value & 0xFFFFFFFF)
                else:
                    return "error no register at 0x%x" % address
                return "ok"
            if command == "get" and len(words) == 2:
                address = parse_number(words[1])
                if address in self.regs:
                    return "ok value=0x%08x" % self.regs[address][0]
                status, value = self.read_register(address)
                if status != SUCCESS:
                    return "error status=0x%04x" % status
                return "ok value=0x%08x" % value
            if command == "mute" and len(words) == 2:
                self.muted = words[1] == "1"
                return "ok muted=%d" % int(self.muted)
        except ValueError as e:
            return "error %s" % e
        return "error unknown command %s" % command

    # ---- main loop --------------------------------------------------------

    def run(self):
        self.write_ready_file()
        sockets = [self.gvcp, self.mc, self.control] + self.broadcast
        while True:
            ready, _, _ = select.select(sockets, [], [], 0.02)
            self.check_heartbeat()
            for s in ready:
                try:
                    data, source = s.recvfrom(65536)
                except OSError:
                    continue
                if s is self.control:
                    answer = self.handle_control(data, source)
                    if answer is not None:
                        self.reply(source, answer)
                elif s is self.mc:
                    self.handle_message_channel_reply(data, source)
                else:
                    answer = self.handle_gvcp(data, source)
                    if answer is not None:
                        self.gvcp.sendto(answer, source)
            self.pump_events()


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description="GigE Vision device simulator for the Orvane tests.")
    parser.add_argument("--ip", required=True, help="IPv4 address of the device (127.0.0.N)")
    parser.add_argument("--mask", default="255.0.0.0", help="subnet mask of the device")
    parser.add_argument("--serial", default="SIM0001", help="serial number")
    parser.add_argument("--xml", default=os.path.join(here, "sim.xml"), help="GenICam XML of the device")
    parser.add_argument("--control-port", type=int, default=0, help="UDP port of the test control socket")
    parser.add_argument("--ready-file", help="written once the device answers")
    parser.add_argument("--log", help="appends received action commands and accepted writes")
    parser.add_argument("--mac", help="MAC address (default 02:00 then the IPv4 address)")
    parser.add_argument("--vendor", default="Orvane", help="manufacturer name")
    parser.add_argument("--model", default="GvSim", help="model name")
    parser.add_argument("--user-name", default="", help="user-defined name")
    parser.add_argument("--heartbeat-timeout", type=int, default=3000, help="milliseconds")
    parser.add_argument("--action-signals", type=int, default=2, help="number of action signals")
    parser.add_argument("--action-device-key", type=parse_number, default=0)
    parser.add_argument("--action-group-key", type=parse_number, default=0, help="of action signal 0")
    parser.add_argument("--action-group-mask", type=parse_number, default=0, help="of action signal 0")
    parser.add_argument("--unconditional-action", action="store_true",
                        help="accept action commands with no controller")
    parser.add_argument("--gate-events", action="store_true",
                        help="send an event only while its EventNotification is On")
    args = parser.parse_args()
    try:
        Simulator(args).run()
    except KeyboardInterrupt:
        pass
    except SystemExit as e:
        sys.exit(e.code)


if __name__ == "__main__":
    main()
