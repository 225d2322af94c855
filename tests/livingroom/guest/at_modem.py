#!/usr/bin/env python3
"""at_modem.py TTY: speaks as a modem does that is registered to a network, on the far side of its serial port."""

import os
import sys
import tty

ANSWERS = {
    "+CGMI": "Acme", "+CGMM": "Dongle-1", "+CGMR": "1.0", "+CGSN": "490154203237518",
    "+GCAP": "+GCAP: +CGSM", "+CPIN?": "+CPIN: READY", "+CIMI": "001010123456789",
    "+CRSM=176,12258,0,0,10": '+CRSM: 144,0,"98101432547698103254"', "+CNUM": "",
    "+CFUN?": "+CFUN: 1", "+CREG?": '+CREG: 2,1,"0001","00000001"', "+CGREG?": '+CGREG: 2,1,"0001","00000001"',
    "+COPS?": '+COPS: 0,0,"Acme Net",7', "+COPS=3,2;+COPS?": '+COPS: 0,2,"00101",7',
    "+COPS=3,0;+COPS?": '+COPS: 0,0,"Acme Net",7', "+CSQ": "+CSQ: 20,99", "+CLCK=?": '+CLCK: ("SC")',
    '+CLCK="SC",2': "+CLCK: 0", "+CGDCONT=?": '+CGDCONT: (1-5),"IP",,,(0),(0)',
    "+CGDCONT?": '+CGDCONT: 1,"IP","internet","",0,0', "+CGACT?": "+CGACT: 1,0",
    "+CSCS=?": '+CSCS: ("IRA","UCS2","GSM")', "+CSCS?": '+CSCS: "IRA"', "+CMGF=?": "+CMGF: (0,1)",
    "+CPMS=?": '+CPMS: ("ME","SM"),("ME","SM"),("ME","SM")', "+CCID": "8901410321111851072",
}
# What is done without a word.
DONE = ("", "Z", "E0", "V1", "X4", "&C1", "H", "+CMEE", "+CFUN", "+CREG", "+CGREG", "+CSCS", "+CMGF", "+CNMI", "+CMER",
        "+IFC", "+COPS=0", "+CPMS", "+CUSD", "+CGACT=0", "+CGDCONT=1", "+CLIP", "+CRC", "+CCWA")


def answer_to(command):
    if command in ANSWERS:
        text = ANSWERS[command]
        return f"\r\n{text}\r\n\r\nOK\r\n" if text else "\r\nOK\r\n"
    is_done = any(command == name or (len(name) > 3 and command.startswith(name)) for name in DONE)
    return "\r\nOK\r\n" if is_done and not command.endswith("?") else "\r\nERROR\r\n"


def main():
    line = os.open(sys.argv[1], os.O_RDWR | os.O_NOCTTY)
    tty.setraw(line)
    heard = b""
    while True:
        try:
            heard += os.read(line, 4096)
        except OSError:
            return  # unplugged
        while b"\r" in heard:
            command, heard = heard.split(b"\r", 1)
            words = command.strip().decode(errors="replace").upper()
            if words.startswith("AT"):
                answer = answer_to(words[2:])
                print(words, "->", answer.split(), flush=True)
                os.write(line, answer.encode())


main()
