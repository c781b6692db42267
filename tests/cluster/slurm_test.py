#!/usr/bin/python3 -B
"""Runs the job script of docs/cluster.md on a cluster of three nodes, all on this machine, and kills one node midway.

Usage: slurm_test.py ZEVA SOURCE [PICTURES WIDTH]

The cluster is a Slurm of its own: a munged, a slurmctld and three slurmd with ports on the loopback interface, and
every file of theirs in a temporary folder. The script ends only what it started. It needs root, slurm-wlm and munge; it
says what is missing and is skipped otherwise.

With PICTURES and WIDTH it is the proof of `make cluster`: it prints a table, and compares the processor time with that
of a single run, which a few small pictures are too short for.
"""

import os
import pathlib
import re
import resource
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

from shared_list import SharedList, fail, judge, page, skip

SHARDS = 9
NODES = ("n1", "n2", "n3")
KILLED = "n2"
MARK = "ZEVA_CLUSTER"

CONFIGURATION = """
ClusterName=zeva
SlurmctldHost={host}(127.0.0.1)
SlurmctldPort={port}
SlurmUser=root
SlurmdUser=root
AuthType=auth/munge
AuthInfo=socket={folder}/munge/socket,cred_expire=3
CredType=cred/munge
CommunicationParameters=NoCtldInAddrAny,NoInAddrAny
MpiDefault=none
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
SwitchType=switch/none
JobAcctGatherType=jobacct_gather/none
AccountingStorageType=accounting_storage/none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
SchedulerType=sched/builtin
SchedulerParameters=sched_interval=1,batch_sched_delay=0
ReturnToService=2
SlurmdTimeout=5
KillWait=2
MinJobAge=300
SlurmctldPidFile={folder}/slurmctld.pid
SlurmctldLogFile={folder}/slurmctld.log
StateSaveLocation={folder}/state
SlurmdPidFile={folder}/%n.pid
SlurmdLogFile={folder}/%n.log
SlurmdSpoolDir={folder}/spool-%n
SlurmdParameters=config_overrides
{nodes}
PartitionName=all Nodes={names} Default=YES MaxTime=INFINITE State=UP
"""


def free_ports():
    """The first of a row of ports that nobody uses on the loopback interface."""
    for first in range(17000, 30000, 20):
        try:
            for port in range(first, first + 1 + len(NODES)):
                with socket.socket() as attempt:
                    attempt.bind(("127.0.0.1", port))
        except OSError:
            continue
        return first
    fail("no ports are free")


def environment_of(pid):
    """The environment that a process began with; empty for one that has ended."""
    try:
        return dict(
            item.split("=", 1)
            for item in pathlib.Path(f"/proc/{pid}/environ").read_text("utf-8", "replace").split("\0")
            if "=" in item
        )
    except OSError:
        return {}


def processor_seconds(pid):
    """The processor time of a process and of its children that have ended."""
    try:
        fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
        return sum(map(int, fields[11:15])) / os.sysconf("SC_CLK_TCK")
    except OSError:
        return 0


class Cluster:
    def __init__(self, folder):
        self.folder = folder
        self.processes = {}
        self.environment = os.environ | {
            "SLURM_CONF": str(folder / "slurm.conf"),
            MARK: str(folder),
            "PATH": f"{folder}/bin:{os.environ['PATH']}:/usr/sbin",
        }

    def start(self, name, *words, user=None):
        log = (self.folder / f"{name}.output").open("wb")
        self.processes[name] = subprocess.Popen(
            words, stdout=log, stderr=log, stdin=subprocess.DEVNULL, env=self.environment, user=user, cwd=self.folder
        )

    def command(self, *words):
        """Runs a command of Slurm, again while the controller is starting. Returns what it prints."""
        for _ in range(100):
            result = subprocess.run(words, capture_output=True, text=True, env=self.environment, cwd=self.folder)
            if result.returncode == 0:
                return result.stdout
            time.sleep(0.2)
        fail(f"{' '.join(map(str, words))}: {result.stderr.strip()}; the cluster's logs: {self.logs()}")

    def logs(self):
        return "\n".join(
            path.read_text(errors="replace")[-1500:] for path in self.folder.glob("*.log") if path.stat().st_size > 0
        )

    def begin(self):
        munge = self.folder / "munge"
        munge.mkdir(mode=0o755)
        (munge / "key").write_bytes(os.urandom(1024))
        (munge / "key").chmod(0o400)
        for path in (munge, munge / "key"):
            shutil.chown(path, "munge", "munge")
        self.start(
            *("munged", "munged", "--foreground", "--force", f"--socket={munge}/socket", f"--key-file={munge}/key"),
            *(f"--pid-file={munge}/pid", f"--log-file={munge}/log", f"--seed-file={munge}/seed"),
            user="munge",
        )
        while not (munge / "socket").exists():
            if self.processes["munged"].poll() is not None:
                fail(f"munged: {(self.folder / 'munged.output').read_text()}")
            time.sleep(0.05)
        (self.folder / "state").mkdir()
        host, port = socket.gethostname(), free_ports()
        nodes = "\n".join(
            f"NodeName={name} NodeHostname={host} NodeAddr=127.0.0.1 Port={port + 1 + number} CPUs=1 State=UNKNOWN"
            for number, name in enumerate(NODES)
        )
        (self.folder / "slurm.conf").write_text(
            CONFIGURATION.format(host=host, port=port, folder=self.folder, nodes=nodes, names=",".join(NODES))
        )
        self.start("slurmctld", "slurmctld", "-D")
        for name in NODES:
            (self.folder / f"spool-{name}").mkdir()
            self.start(name, "slurmd", "-D", "-N", name)
        for _ in range(300):
            states = self.command("sinfo", "-h", "-N", "-o", "%N %t").split()
            if states.count("idle") == len(NODES):
                return
            time.sleep(0.1)
        fail(f"the nodes do not become idle: {states}; {self.logs()}")

    def tasks(self, node=None):
        """The processes of jobs of this cluster, and those of Slurm that watch over them."""
        found = set()
        for entry in pathlib.Path("/proc").iterdir():
            if not entry.name.isdecimal():
                continue
            environment = environment_of(entry.name)
            here = environment.get(MARK) == str(self.folder) and "SLURM_JOB_ID" in environment
            if here and node in (None, environment.get("SLURMD_NODENAME")):
                found.add(int(entry.name))
                parent = int((entry / "stat").read_text().rpartition(")")[2].split()[1])
                if "slurmstepd" in pathlib.Path(f"/proc/{parent}/cmdline").read_text(errors="replace"):
                    found.add(parent)
        return found

    def kill_node(self, node):
        """Ends a node as a loss of power would. Returns the processor time that its jobs had used, and its jobs."""
        self.processes[node].kill()
        self.processes[node].wait()
        tasks = self.tasks(node)
        for pid in tasks:
            try:
                os.kill(pid, signal.SIGSTOP)
            except ProcessLookupError:
                pass
        seconds = sum(processor_seconds(pid) for pid in tasks)
        for pid in tasks:
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        return seconds

    def end(self):
        for pid in self.tasks():
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        for process in reversed(self.processes.values()):
            if process.poll() is None:
                process.terminate()
            try:
                process.wait(timeout=10)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()


# Runs the program and notes its processor time, as the program itself does not.
WRAPPER = """#!/usr/bin/python3 -B
import os, resource, subprocess, sys
status = subprocess.run([{zeva!r}, *sys.argv[1:]]).returncode
usage = resource.getrusage(resource.RUSAGE_CHILDREN)
with open({times!r}, "a") as file:
    file.write(f"{{usage.ru_utime + usage.ru_stime}}\\n")
sys.exit(status if status >= 0 else 128 - status)
"""


def main():
    zeva, source = os.path.abspath(sys.argv[1]), pathlib.Path(sys.argv[2])
    is_proof = len(sys.argv) > 3
    count, width = map(int, sys.argv[3:5]) if is_proof else (90, 8)
    for program in ("munged", "slurmctld", "slurmd", "sbatch"):
        if shutil.which(program, path=os.environ["PATH"] + ":/usr/sbin") is None:
            skip(f"{program} is not installed, tools/setup cluster installs it")
    if os.geteuid() != 0:
        skip("only root can start a cluster with nodes of their own")
    with tempfile.TemporaryDirectory(prefix="zeva-cluster-") as name:
        folder = pathlib.Path(name)
        folder.chmod(0o755)
        cluster = Cluster(folder)
        try:
            prove(cluster, zeva, source, count, width, is_proof)
        finally:
            cluster.end()


def prove(cluster, zeva, source, count, width, is_proof):
    work = cluster.folder / "work"
    (cluster.folder / "bin").mkdir()
    work.mkdir()
    times = cluster.folder / "times"
    program = cluster.folder / "bin/zeva"
    program.write_text(WRAPPER.format(zeva=zeva, times=str(times)))
    program.chmod(0o755)
    pictures = SharedList(work, zeva, count, width)
    script = re.search(r"```bash\n(#!/bin/bash\n#SBATCH.*?)```", page(source), re.S)[1]
    (work / "job.sh").write_text(script)

    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    begin = time.time()
    pictures.run_alone(script)
    single_seconds = time.time() - begin
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    single_time = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

    cluster.begin()
    begin = time.time()
    job = cluster.command("sbatch", "--parsable", "--chdir", work, work / "job.sh").strip()

    # The node is killed when a third is done and it has work.
    while pictures.noted() < count // 3 or not cluster.tasks(KILLED):
        time.sleep(0.005)
    lost_time = cluster.kill_node(KILLED)
    at_kill = pictures.noted()
    if not is_proof:  # the controller would notice by itself, after some twenty seconds
        cluster.command("scontrol", "update", f"NodeName={KILLED}", "State=DOWN", "Reason=lost")
    while True:
        left = cluster.command("squeue", "-h", "-o", "%i %t %r")
        if not left.strip():
            break
        # Slurm lets a task rest for two minutes that it has queued again.
        for task in re.findall(r"^(\S+) PD BeginTime$", left, re.M):
            cluster.command("scontrol", "update", f"JobId={task}", "StartTime=now")
        if time.time() - begin > 600:
            fail(f"the jobs do not end:\n{left}{cluster.logs()}")
        time.sleep(0.2)
    cluster_seconds = time.time() - begin
    cluster_time = lost_time + sum(map(float, times.read_text().split()))

    states = cluster.command("sinfo", "-h", "-N", "-o", "%N %t").split()
    state = states[states.index(KILLED) + 1]

    rows = [
        ("pictures", count, ""),
        ("shards, nodes", f"{SHARDS}, {len(NODES)}", ""),
        ("pictures done when a node was killed", at_kill, at_kill < count),
        ("state of the killed node", state, state.startswith("down")),
        *pictures.rows(SHARDS),
    ]
    if is_proof:
        ratio = cluster_time / single_time
        rows += [
            ("seconds on one machine", f"{single_seconds:.1f}", ""),
            ("seconds on the cluster, with the wait for the lost node", f"{cluster_seconds:.1f}", ""),
            ("processor seconds on one machine", f"{single_time:.1f}", ""),
            ("processor seconds on the cluster", f"{cluster_time:.1f}", ""),
            ("ratio, at most 1.10", f"{ratio:.2f}", ratio <= 1.1),
        ]
    judge(rows)


if __name__ == "__main__":
    main()
