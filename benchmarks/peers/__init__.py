"""What compare_peers.py is made of."""
