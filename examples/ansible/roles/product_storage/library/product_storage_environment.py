#!/usr/bin/python3
"""Lays down the environment of a backup node's array, its password encrypted with the node's key."""

import hashlib
import hmac
import json
import os
import tempfile

from ansible.module_utils.basic import AnsibleModule

DOCUMENTATION = r"""
module: product_storage_environment
short_description: Lays down the environment of a backup node's array
description:
  - Has C(zavctl env new) make it, and replaces the file only where it tells something else, or holds another password.
  - Two encryptions of one password never look the same. So a fingerprint beside the file tells which password went into it,
    a keyed hash that only the node's key can make; without that key it tells nothing.
  - The node's key never leaves the node, is made where there is none, and is never replaced.
options:
  path: {description: The environment, type: path, required: true}
  key: {description: The node's key, type: path, required: true}
  addresses: {description: "Management addresses, first the one to log in at", type: list, elements: str, required: true}
  port: {description: Their port, type: int, default: 8088}
  protocol: {description: What is spoken there, choices: [https, http], default: https}
  user: {description: Who logs in, type: str, required: true}
  password: {description: And with what, type: str, required: true}
  accept_new_key: {description: Whether a node that lost its key is given another one, type: bool, default: false}
"""

EXAMPLES = r"""
- product_storage_environment:
    path: /etc/product-storage/environment.json
    key: /etc/product-storage/product.key
    addresses: [10.20.0.1]
    user: admin
    password: "{{ vault_product_storage_password }}"
"""

RETURN = r"""
is_laid_down:
  description: Whether the file is there; in check mode it may not be
  type: bool
  returned: success
"""

ARGUMENTS = {
    "path": {"type": "path", "required": True},
    "key": {"type": "path", "required": True, "no_log": False},
    "addresses": {"type": "list", "elements": "str", "required": True},
    "port": {"type": "int", "default": 8088},
    "protocol": {"choices": ["https", "http"], "default": "https"},
    "user": {"type": "str", "required": True},
    "password": {"type": "str", "required": True, "no_log": True},
    "accept_new_key": {"type": "bool", "default": False, "no_log": False},
}


class Environment:
    """The file, its fingerprint beside it, and the key that both hang on."""

    def __init__(self, module):
        self.module = module
        self.path = module.params["path"]
        self.fingerprint_path = os.path.splitext(self.path)[0] + ".fingerprint"
        self.password = module.params["password"]

    def key(self):
        """The key's bytes; none where the node has no key."""
        try:
            with open(self.module.params["key"], encoding="ascii") as file:
                return bytes.fromhex(file.read().strip())
        except FileNotFoundError:
            return None
        except (OSError, ValueError) as error:
            self.module.fail_json(msg=f"{self.module.params['key']}: the node's key cannot be read: {error}")

    def read(self):
        """What the file says; empty where there is none, or none that could be used."""
        try:
            with open(self.path, encoding="utf-8") as file:
                content = json.load(file)
            return content if isinstance(content, dict) else {}
        except (FileNotFoundError, ValueError):
            return {}

    def fingerprint(self, content):
        """Of the password as this content holds it. Whoever could make it could decrypt the password, too."""
        cipher = "\0".join(content.get("encryptedPasswords", []))
        return hmac.new(self.key(), f"{cipher}\0{self.password}".encode(), hashlib.sha256).hexdigest()

    def holds_password(self, content):
        try:
            with open(self.fingerprint_path, encoding="ascii") as file:
                return hmac.compare_digest(file.read().strip(), self.fingerprint(content))
        except (FileNotFoundError, ValueError):
            return False

    def compose(self, makes_key):
        """The wanted content, as zavctl makes it."""
        wanted = self.module.params
        command = ["zavctl", "-q", "env", "new", "--user", wanted["user"], "--port", str(wanted["port"]),
                   "--protocol", wanted["protocol"]]
        for address in wanted["addresses"]:
            command += ["--address", address]
        if makes_key:
            command.append("--new-key")
        status, text, errors = self.module.run_command(command, data=self.password)
        if status != 0:
            self.module.fail_json(msg=errors.strip() or f"zavctl env new ended with {status}", rc=status)
        return text

    def write(self, text):
        """Content and fingerprint, whole or not at all; a fingerprint that does not match is as good as none."""
        for path, lines in ((self.path, text), (self.fingerprint_path, self.fingerprint(json.loads(text)) + "\n")):
            with tempfile.NamedTemporaryFile("w", dir=os.path.dirname(path), delete=False) as file: # mode 0600
                file.write(lines)
            self.module.atomic_move(file.name, path)
            self.module.set_mode_if_different(path, "0600", False)


def without_password(content):
    return {name: value for name, value in content.items() if name != "encryptedPasswords"}


def shown(content, password):
    """For people: a member a line, with words in place of the password."""
    shown_content = {**content, "encryptedPasswords": [password]} if content else {}
    return "".join(f"{name}: {json.dumps(value)}\n" for name, value in shown_content.items())


def main():
    module = AnsibleModule(ARGUMENTS, supports_check_mode=True)
    password = module.params["password"]
    if not password or "\n" in password:
        module.fail_json(msg="a password has 1 to 4096 bytes, and no line break")
    environment = Environment(module)
    content = environment.read()
    has_key = environment.key() is not None
    if content and not has_key and not module.params["accept_new_key"]:
        module.fail_json(msg=f"{module.params['key']}: this node's key is gone, and {environment.path} was encrypted with it: put "
                             "the key back from its copy, or let product_storage_accept_new_key be true")

    is_there = bool(content)
    if not has_key and module.check_mode:
        module.exit_json(changed=True, is_laid_down=is_there,
                         diff={"before": "", "after": f"{module.params['key']} and {environment.path} are made\n"})
    text = environment.compose(makes_key=not has_key)
    wanted = json.loads(text)
    is_same_password = has_key and is_there and environment.holds_password(content)
    if is_same_password and without_password(content) == without_password(wanted):
        mode_changed = module.set_mode_if_different(environment.path, "0600", False)
        module.exit_json(changed=mode_changed, is_laid_down=True)
    if not module.check_mode:
        environment.write(text)
    module.exit_json(changed=True, is_laid_down=is_there or not module.check_mode, diff={
        "before_header": environment.path, "after_header": environment.path,
        "before": shown(content, "a password"),
        "after": shown(wanted, "another password" if is_there and not is_same_password else "a password")})


if __name__ == "__main__":
    main()
