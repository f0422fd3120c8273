"""qvidl: turns an interface description into the code of both of its ends.

    python3 -m qvidl FILE --check
    python3 -m qvidl FILE --proxy-header OUT --proxy-source OUT ...

The way of a description: lexer -> parser (a tree of declarations) -> checker (a resolved Interface, or a
list of errors) -> emitters (text). Facts about one method stand in the description, never in an emitter.
"""
