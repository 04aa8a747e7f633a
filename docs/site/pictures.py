"""Pictures of results: made from the examples by the commands of pictures.txt, and put into the pages that speak of
them."""


def setup(_app):
    return {"parallel_read_safe": True}
