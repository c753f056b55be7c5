#!/usr/bin/env python3
"""Runs vexora-probe with a network of devices that answer SNMP on loopback.

    script/lib/snmp_network.py PROBE [ARGUMENT...]

One snmpd for each walk of tests/snmp serves it with moving counters. They and their files go when the probe does.
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


def main():
    walks = sorted((ROOT / "tests" / "snmp").glob("*.snmprec"))
    probe = None
    agents = []

    def stop(*_):
        if probe is not None:
            probe.terminate()

    with tempfile.TemporaryDirectory(prefix="vexora-snmp-") as name:
        folder = pathlib.Path(name)
        settings = "[sources.this_machine]\nenabled = false\n\n"
        try:
            for walk, port in zip(walks, free_ports(len(walks))):
                agents.append(start_agent(folder, walk, port))
                settings += DEVICE.format(port=port)
            (folder / "probe.toml").write_text(settings, encoding="utf-8")
            print("The devices, as the configuration file has them:\n\n" + settings, flush=True)
            probe = subprocess.Popen([sys.argv[1], "--config", str(folder / "probe.toml"), *sys.argv[2:]])
            signal.signal(signal.SIGTERM, stop)
            # Ctrl-C reaches the probe too, which takes its time to say goodbye.
            signal.signal(signal.SIGINT, stop)
            return probe.wait()
        finally:
            for agent in agents:
                agent.terminate()
            for agent in agents:
                agent.wait()


if __name__ == "__main__":
    sys.exit(main())
