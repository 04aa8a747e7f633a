"""Version of the package, which is that of the library."""
VERSION = "2.1.0"
