"""Requests to the servers of the programs, which listen on the loopback."""

import http.client
import json
from typing import Any, Mapping, Optional, Tuple

ANSWER_SECONDS = 20.0


def request(address: str, method: str, path: str, body: Optional[str] = None,
            headers: Optional[Mapping[str, str]] = None) -> Tuple[int, bytes]:
    """Status and body of the answer of the server at HOST:PORT."""
    connection = http.client.HTTPConnection(address, timeout=ANSWER_SECONDS)
    try:
        connection.request(method, path, body, dict(headers or {}))
        response = connection.getresponse()
        return response.status, response.read()
    except TimeoutError:
        raise TimeoutError(f"timed out waiting for the answer to {method} {path}") from None
    finally:
        connection.close()


def problem(body: bytes) -> str:
    """What a refusal says: its member "error", or its beginning."""
    try:
        document: Any = json.loads(body)
        return str(document["error"])
    except (ValueError, KeyError, TypeError):
        return body[:200].decode("utf-8", "replace")
