"""Reads all LUNs of an array as one would by hand: inventory_by_hand.py URL CERTIFICATE-AUTHORITY PAGE"""
import json
import sys

import requests

url, authority, page = sys.argv[1], sys.argv[2], int(sys.argv[3])
session = requests.Session()
session.verify = authority
session.trust_env = False


def data_of(answer):
    told = json.loads(answer.content)
    if told["error"]["code"] != 0:
        sys.exit(told["error"]["description"])
    return told.get("data")


login = {"username": "admin", "password": "zavsim-admin", "scope": 0}
data = data_of(session.post(url + "/deviceManager/rest//sessions", json=login))
session.headers["iBaseToken"] = data["iBaseToken"]
base = f"{url}/deviceManager/rest/{data['deviceid']}/"

count = int(data_of(session.get(base + "lun/count"))["COUNT"])
for first in range(0, count, page):
    for lun in data_of(session.get(f"{base}lun?range=[{first}-{first + page}]")):
        capacity = int(lun["CAPACITY"]) * int(lun["SECTORSIZE"])
        row = (int(lun["ID"]), lun["NAME"], lun["WWN"], capacity, lun["HEALTHSTATUS"], lun["PARENTID"], lun["ALLOCTYPE"])
        print(*row)
data_of(session.delete(base + "sessions"))
