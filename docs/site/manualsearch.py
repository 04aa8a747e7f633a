"""The search of the manual."""


def setup(_app):
    return {"parallel_read_safe": True}
