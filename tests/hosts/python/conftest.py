pytest_plugins = ["quorrin.pytest_plugin"]
