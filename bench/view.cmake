add_bench(view_bench LINK stowboard_ui)
