add_bench(heartbeat_bench LINK stowboard_app)
