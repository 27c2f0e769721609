#!/usr/bin/python3
"""Prepares a backup node on its storage array, where zavctl plan finds something to do."""

import json

from ansible.module_utils.basic import AnsibleModule

DOCUMENTATION = r"""
module: product_storage_node
short_description: Prepares a backup node on its storage array
description:
  - Asks C(zavctl plan) what is to be done, and has C(zavctl init) do it. Where that is nothing, init is not run, and the array is
    only read. In check mode it is the plan alone.
  - Where the plan ends in a node that is not rightly prepared, nothing is changed.
options:
  environment: {description: The environment of the array, type: path, required: true}
  adopt: {description: "Whether a host that has the node's initiator, and was not made by the node, may be used", type: bool,
          default: true}
  timeout: {description: How many seconds plan and init may take each, type: int, default: 300}
"""

EXAMPLES = r"""
- product_storage_node:
    environment: /etc/product-storage/environment.json
"""

ARGUMENTS = {
    "environment": {"type": "path", "required": True},
    "adopt": {"type": "bool", "default": True},
    "timeout": {"type": "int", "default": 300},
}

DONE, SOMETHING_TO_DO = 0, 11

# By this member of the record a second init marks the host of the first one as found. It changes neither the array nor what
# a cleanup with --delete-host takes away, and is no reason to run init.
FOUND_MARK = "DONOTDELETEHOST"


def run(module, verb, done):
    """What zavctl prints; a status that is not among `done` fails with its cause and remedy."""
    command = ["zavctl", "-q", "--timeout", str(module.params["timeout"]), verb, "--env", module.params["environment"],
               "-o", "json"]
    if not module.params["adopt"]:
        command.append("--no-adopt")
    status, text, errors = module.run_command(command)
    if status not in done:
        module.fail_json(msg=errors.strip() or f"zavctl {verb} ended with {status}", rc=status)
    return json.loads(text)


def told(step):
    """For people: "make host (new): none is recorded"."""
    text = f"{step['action']} {step['kind']} {step['id']}"
    if step.get("name"):
        text += f" ({step['name']})"
    if step.get("into"):
        text += f" into {step['into']} {step.get('into_id', '')}"
    return text + (f": {step['why']}" if step.get("why") else "")


def main():
    module = AnsibleModule(ARGUMENTS, supports_check_mode=True)
    plan = run(module, "plan", (DONE, SOMETHING_TO_DO))
    steps = [step for step in plan["steps"] if step["changes"] and step["id"] != FOUND_MARK]
    if not steps:
        module.exit_json(changed=False)
    lines = [told(step) for step in steps if step["where"] != "record"]
    if len(lines) < len(steps):
        lines.append("write the record")
    if not module.check_mode:
        run(module, "init", (DONE,))
    module.exit_json(changed=True, diff={"before_header": "the node", "after_header": "the node, prepared",
                                         "before": "", "after": "".join(line + "\n" for line in lines)})


if __name__ == "__main__":
    main()
