#!/usr/bin/env python3
"""Runs vexora-probe with a network of devices that answer SNMP on loopback.

    script/lib/snmp_network.py PROBE [ARGUMENT...]
    script/lib/snmp_network.py --agents

One snmpd for each walk of tests/snmp serves it with moving counters. They and their files go when the probe does. With
--agents there is no probe: its configuration is printed, and the agents run until the end of standard input.
"""

import pathlib
import shutil
import signal
import socket
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
AGENT = """\
agentaddress udp:127.0.0.1:{port}
rocommunity public 127.0.0.1
pass_persist .1.3.6.1 /usr/bin/python3 -u {server} {walk}
pass_persist .1.2.840 /usr/bin/python3 -u {server} {walk}
"""
DEVICE = """\
[[sources.snmp.devices]]
address = "127.0.0.1:{port}"
community = "public"
interval_seconds = 10

"""


def free_ports(count):
    """UDP ports that nobody uses; all are bound at once, so that they differ."""
    sockets = [socket.socket(socket.AF_INET, socket.SOCK_DGRAM) for _ in range(count)]
    for one in sockets:
        one.bind(("127.0.0.1", 0))
    ports = [one.getsockname()[1] for one in sockets]
    for one in sockets:
        one.close()
    return ports


def start_agent(folder, walk, port):
    snmpd = shutil.which("snmpd", path="/usr/sbin:/usr/local/sbin:/usr/bin")
    if snmpd is None:
        sys.exit("snmpd is missing; script/bootstrap installs it")
    state = folder / walk.stem
    state.mkdir()
    configuration = state / "snmpd.conf"
    server = ROOT / "script" / "lib" / "serve_walk.py"
    configuration.write_text(AGENT.format(port=port, server=server, walk=walk), encoding="utf-8")
    # Without its own modules: nothing of this machine is to shine through.
    modules = "pass_persist,vacm_conf,vacm_vars,usmConf,usm_conf"
    return subprocess.Popen([snmpd, "-f", "-Lf", str(state / "log"), "-C", "-c", str(configuration), "-I", modules],
                            env={"SNMP_PERSISTENT_DIR": str(state), "PATH": "/usr/bin:/bin"})


def run_probe(folder, settings, command):
    configuration = folder / "probe.toml"
    configuration.write_text(settings, encoding="utf-8")
    print("The devices, as the configuration file has them:\n\n" + settings, flush=True)
    probe = subprocess.Popen([command[0], "--config", str(configuration), *command[1:]])
    for number in (signal.SIGTERM, signal.SIGINT):  # Ctrl-C reaches the probe, too, which takes its time to stop
        signal.signal(number, lambda *_: probe.terminate())
    return probe.wait()


def main():
    walks = sorted((ROOT / "tests" / "snmp").glob("*.snmprec"))
    agents = []
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # through the end of the block below
    with tempfile.TemporaryDirectory(prefix="vexora-snmp-") as name:
        folder = pathlib.Path(name)
        settings = "[sources.this_machine]\nenabled = false\n\n[journal]\nenabled = false\n\n"
        try:
            for walk, port in zip(walks, free_ports(len(walks))):
                agents.append(start_agent(folder, walk, port))
                settings += DEVICE.format(port=port)
            if sys.argv[1] != "--agents":
                return run_probe(folder, settings, sys.argv[1:])
            print(settings, flush=True)
            sys.stdin.read()
            return 0
        finally:
            for agent in agents:
                agent.terminate()
            for agent in agents:
                agent.wait()


if __name__ == "__main__":
    sys.exit(main())
