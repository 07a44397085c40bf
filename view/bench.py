#!/usr/bin/env python3
"""What the page's server and cameras take: going back, answering, telling.

    view/bench.py PROGRAM [MINUTES]

Listens as a page does, at real time, an object that moves each second. Fails when a sample is lost
or memory grows.
"""
import http.client
import json
import re
import subprocess
import sys
import threading
import time

ALLOWED_GROWTH_KB = 4096


class Listener(threading.Thread):
    def __init__(self, port):
        super().__init__(daemon=True)
        self.connection = http.client.HTTPConnection("127.0.0.1", port)
        self.last = None
        self.lost = self.samples = self.events = 0
        self.state = {}
        self.news = threading.Condition()

    def take_samples(self, samples):
        for sample in samples:
            if self.last is not None and abs(sample[0] - self.last - 40) > 0.5:
                self.lost += 1
            self.last = sample[0]
            self.samples += 1

    def take(self, event):
        if event["k"] == "reset":
            self.last = None
            for one in event["told"]:
                self.take(one)
        if event["k"] != "state":
            return
        with self.news:
            self.events += 1
            self.state = event
            self.take_samples(event["samples"])
            self.news.notify_all()

    def run(self):
        self.connection.request("GET", "/events")
        for line in self.connection.getresponse():
            if line.startswith(b"data: "):
                self.take(json.loads(line[6:]))

    def until(self, is_done, limit=20):
        with self.news:
            assert self.news.wait_for(lambda: self.state and is_done(self.state), limit), self.state


class Orders:
    def __init__(self, port):
        self.connection = http.client.HTTPConnection("127.0.0.1", port)
        self.connection.request("GET", "/")
        page = self.connection.getresponse().read().decode()
        self.headers = {"Origin": "http://127.0.0.1:%d" % port,
                        "X-Token": re.search('name="token" content="([0-9A-F]+)"', page).group(1)}
        self.port = port

    def give(self, text):
        connection = http.client.HTTPConnection("127.0.0.1", self.port)
        connection.request("POST", "/order", text, self.headers)
        assert connection.getresponse().status == 200, text


def words_of(process, name):
    with open("/proc/%d/%s" % (process, name)) as file:
        return file.read()


def memory_kb(process):
    return int(re.search(r"VmRSS:\s+(\d+)", words_of(process, "status")).group(1))


def processor_s(process):
    fields = words_of(process, "stat").rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / 100


def children(server):
    found = []
    for task in subprocess.run(["ls", "/proc/%d/task" % server], capture_output=True,
                               text=True).stdout.split():
        found += words_of(server, "task/%s/children" % task).split()
    return [int(child) for child in found]


def measure_back(orders, listener):
    orders.give("pace 100")
    listener.until(lambda s: s["t"] > 62000)
    took = []
    for _ in range(10):
        began = time.time()
        orders.give("rewind 60000")
        listener.until(lambda s: s["t"] == 60000 and s["paused"])
        took.append(time.time() - began)
        orders.give("go")
        listener.until(lambda s: not s["paused"] and s["t"] > 60000)
    print("back to 60 s: %.0f ms (median), %.0f ms (most)"
          % (sorted(took)[5] * 1000, max(took) * 1000))


def measure_answers(orders, listener):
    orders.give("pace 1")
    took = []
    for number in range(50):
        began = time.time()
        orders.give("input send 81090447FF")
        listener.until(lambda s: any(t.get("from") == "camera" for t in s["told"]), 5)
        took.append(time.time() - began)
        with listener.news:
            listener.state = {}
        time.sleep(0.013 * (number % 4))
    print("order to the camera's answer: %.0f ms (median), %.0f ms (most)"
          % (sorted(took)[25] * 1000, max(took) * 1000))


def measure_long(server, orders, listener, minutes):
    orders.give("new")
    listener.until(lambda s: s["t"] > 20000, 40)
    camera = max(children(server))  # the youngest; another one checks inputs
    who = {"server": server, "camera": camera}
    listener.lost = listener.samples = listener.events = 0
    memory = {name: memory_kb(process) for name, process in who.items()}
    used = {name: processor_s(process) for name, process in who.items()}
    began = time.time()
    number = 0
    while time.time() - began < minutes * 60:
        number += 1
        orders.give("input set distance %g" % (3 if number % 2 else 5))
        time.sleep(1)
    took = time.time() - began
    print("%.0f s: %.1f events a second, %d samples, %d lost"
          % (took, listener.events / took, listener.samples, listener.lost))
    grown = {}
    for name, process in who.items():
        grown[name] = memory_kb(process) - memory[name]
        print("%s: %.1f %% of a processor, %d kB, %+d kB since the beginning"
              % (name, (processor_s(process) - used[name]) / took * 100, memory_kb(process),
                 grown[name]))
    return listener.lost == 0 and max(grown.values()) < ALLOWED_GROWTH_KB


def main():
    minutes = float(sys.argv[2]) if len(sys.argv) > 2 else 0.5
    server = subprocess.Popen([sys.argv[1], "--port", "0"], stdout=subprocess.PIPE, text=True)
    port = int(re.search(r":(\d+)/", server.stdout.readline()).group(1))
    orders = Orders(port)
    listener = Listener(port)
    listener.start()
    try:
        listener.until(lambda s: True)
        measure_back(orders, listener)
        measure_answers(orders, listener)
        is_good = measure_long(server.pid, orders, listener, minutes)
    finally:
        server.terminate()
        server.wait()
    sys.exit(0 if is_good else 1)


main()
