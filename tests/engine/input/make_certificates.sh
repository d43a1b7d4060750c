#!/bin/sh
# make_certificates.sh DIRECTORY: an authority of our own (ca.pem) and two certificates of its: good.pem for 127.0.0.1,
# bad.pem for another host.
set -eu
cd "$1"
openssl req -x509 -newkey rsa:2048 -nodes -days 3650 -subj '/CN=Test authority' -keyout ca.key -out ca.pem 2>/dev/null
for host in 'good IP:127.0.0.1' 'bad DNS:elsewhere.example'; do
    name=${host%% *}
    echo "subjectAltName=${host#* }" >"$name.ext"
    openssl req -newkey rsa:2048 -nodes -subj "/CN=$name" -keyout "$name.key" -out "$name.csr" 2>/dev/null
    openssl x509 -req -in "$name.csr" -CA ca.pem -CAkey ca.key -CAcreateserial -days 3650 -extfile "$name.ext" \
        -out "$name.pem" 2>/dev/null
done
