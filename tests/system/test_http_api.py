"""The panel's requests are what its own description says: every path, every answer, every refusal."""

import http.client
import json
import pathlib
import re

import jsonschema
import pytest
from prometheus_client.parser import text_string_to_metric_families

from desk import BIN, CONFIG, REPOSITORY, cmd2, wait_for

UNIT = BIN / "unit"


class Described:
    """The document of a running panel, and what it says of an answer."""

    def __init__(self, desk):
        self.desk = desk
        self.document = desk.get("/api")
        self.schemas = {"components": self.document["components"]}

    def check(self, schema, value):
        jsonschema.Draft202012Validator(self.schemas | schema).validate(value)

    def operations(self):
        return [(method.upper(), path, operation) for path, operations in self.document["paths"].items()
                for method, operation in operations.items()]

    def example(self, operation):
        if "requestBody" not in operation:
            return None
        name = operation["requestBody"]["content"]["application/json"]["schema"]["$ref"].rsplit("/", 1)[1]
        return json.dumps(self.document["components"]["schemas"][name]["example"])

    def check_answer(self, operation, status, kind, body):
        content = operation["responses"][str(status)]["content"]
        (wanted, media), = content.items()
        assert kind == wanted or (wanted == "text/*" and kind.startswith("text/")), (kind, wanted)
        if kind == "application/json":
            self.check(media["schema"], json.loads(body))


def ask(desk, method, path, body=None, headers=None):
    connection = http.client.HTTPConnection(desk.address("http"), timeout=20)
    connection.request(method, path, body, headers or {})
    response = connection.getresponse()
    kind = response.getheader("Content-Type")
    stream = kind == "text/event-stream"
    return response.status, kind, response if stream else response.read(), response.getheader("Allow")


def ask_until_ready(desk, *request):
    """The first answer other than 503, which a service that is late on a busy machine makes the panel give."""
    return wait_for(lambda: (answer := ask(desk, *request))[0] != 503 and answer, f"an answer to {request}", 30)


def filled(path, operation):
    for parameter in operation.get("parameters", ()):
        path = path.replace("{" + parameter["name"] + "}", parameter["example"])
    return path


@pytest.fixture
def simulated(make_desk):
    desk = make_desk()
    desk.start(BIN / "hx7", "simulate", "--bus", "local", "--config", CONFIG, "--http", "127.0.0.1:0")
    wait_for(lambda: (desk.runtime / "hx7.address").exists(), "the simulator")
    desk.succeed(UNIT, "wait", "state current", "--seconds", "30")
    wait_for(lambda: ask(desk, "GET", "/api/health")[0] == 200, "all services", 20)
    return desk


def test_every_path_answers_as_the_document_says(simulated):
    described = Described(simulated)
    for method, path, operation in described.operations():
        status, kind, body, _ = ask_until_ready(simulated, method, filled(path, operation), described.example(operation))
        assert status == 200, (method, path, body)
        if kind != "text/event-stream":
            described.check_answer(operation, status, kind, body)
        status, kind, body, allowed = ask(simulated, "PUT", filled(path, operation))
        assert status == 405 and method in allowed
        described.check_answer(operation, status, kind, body)
        for headers in ({"Host": "elsewhere.example"}, {"Origin": "http://elsewhere.example"}):
            status, kind, body, _ = ask(simulated, method, filled(path, operation), None, headers)
            assert status == 403
            described.check_answer(operation, status, kind, body)
        if method == "POST":
            for content, headers, wanted in ((b"x", {"Content-Type": "multipart/form-data; boundary=x"}, 415), (b"x" * 5000, {}, 413)):
                status, kind, body, _ = ask(simulated, method, filled(path, operation), content, headers)
                assert status == wanted, (path, body)
                described.check_answer(operation, status, kind, body)


def test_errors_are_in_the_document(simulated):
    described = Described(simulated)
    operations = {(method, path): operation for method, path, operation in described.operations()}
    keys = "/api/keys/{keys}"
    cases = [("POST", keys, "/api/keys/9", '{"down":true}', 404), ("POST", keys, "/api/keys/1", "{", 400),
             ("POST", keys, "/api/keys/1", '{"renew":true}', 409), ("POST", keys + "/press", "/api/keys/0/press", None, 404),
             ("POST", "/api/host/do", "/api/host/do", '{"do":"dance"}', 400), ("POST", "/api/host/controls", "/api/host/controls", "{}", 400),
             ("GET", "/words/{language}.xml", "/words/xx.xml", None, 404),
             ("GET", "/api/bus/trace", "/api/bus/trace?kind=some", None, 400)]
    for method, path, asked, content, wanted in cases:
        status, kind, body, _ = ask_until_ready(simulated, method, asked, content)
        assert status == wanted, (asked, body)
        described.check_answer(operations[method, path], status, kind, body)
    assert ask(simulated, "GET", "/nothing")[0] == 404


def test_the_document_knows_every_path_that_is_asked_for(simulated):
    described = Described(simulated)
    patterns = [re.compile(re.sub(r"\\{\w+\\}", "[^/]+", re.escape(path))) for path in described.document["paths"]]
    for source in [*(REPOSITORY / "unit/panel/assets").glob("*.js"), *(REPOSITORY / "unit").rglob("*.cpp"), *pathlib.Path(__file__).parent.glob("*.py")]:
        for path in re.findall(r"""["'`](/(?:(?:api|metrics)[a-z./]*|screen[.](?:svg|png)))["'`]""", source.read_text()):
            if path.startswith(("/api/state", "/api/do", "/api/controls", "/api/nothing")) or path.endswith("/"):
                continue  # the simulator's own, and beginnings
            assert any(pattern.fullmatch(path) for pattern in patterns), (source.name, path)


def test_the_stream_has_the_events_of_the_document(simulated):
    described = Described(simulated)
    _, _, stream, _ = ask(simulated, "GET", "/api/stream")
    seen = set()
    while not {"screen", "change", "board", "bus", "parameters", "database", "health"} <= seen:
        name = stream.readline().decode().removeprefix("event: ").strip()
        data = json.loads(stream.readline().decode().removeprefix("data: "))
        assert stream.readline() == b"\n"
        described.check(described.document["x-events"][name]["schema"], data)
        seen.add(name)


def test_services_that_do_not_answer_are_told_as_the_document_says(make_desk):
    desk = make_desk(orvik=False, apart=True, parts=("notify", "panel"))
    wait_for(lambda: (desk.runtime / "http.address").exists(), "the panel")
    described = Described(desk)
    for path in ("/api/shown", "/api/screen", "/screen.svg", "/screen.png", "/api/board", "/api/database", "/api/host/state"):
        status, kind, body, _ = ask(desk, "GET", path)
        assert status == 503, path
        described.check_answer(described.document["paths"][path]["get"], status, kind, body)


def test_prometheus_reads_the_metrics(simulated):
    simulated.bus().send_message(cmd2())

    def samples():
        families = list(text_string_to_metric_families(ask(simulated, "GET", "/metrics")[2].decode()))
        assert all(family.documentation and family.type in ("counter", "gauge") for family in families)
        return {(sample.name, *sorted(sample.labels.values())): sample.value for family in families for sample in family.samples}

    first = samples()
    health = {service["name"]: service for service in simulated.get("/api/health")["services"]}
    assert {name[1] for name in first if name[0] == "orvik_part_up"} == set(health)
    assert 0 <= first["orvik_host_values_age_seconds",] < 5
    assert first["orvik_restarts_total", "board"] == 0 and first["orvik_messages_lost_total",] == 0
    for thread in ("unit", "panel pace"):
        assert ("orvik_thread_cpu_seconds_total", *sorted((thread, "unit"))) in first
    assert 1e6 < first["orvik_process_resident_memory_bytes", "unit"] < 1e9
    received = "orvik_bus_frames_total", "received"
    assert first[received] > 0
    wait_for(lambda: samples()[received] > first[received], "further frames")
