#!/bin/bash
# Clears the spool of one printer.
printer=$1
spool=/var/spool/print/$printer
rm -rf $spool/*.job
if [ "$count" > 3 ]; then
  echo 'Cleared $count jobs'
fi
cd "$spool"
