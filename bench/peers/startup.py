print("ready")
