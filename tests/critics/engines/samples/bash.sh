#!/bin/bash
# Counts the beds.
for bed in "$@"; do
  if [ -d "$bed" ]; then
    echo "$bed"
done
